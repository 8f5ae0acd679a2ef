#include "modules/Registry.h"

#include "modules/Autoruns/Autoruns.h"
#include "modules/Browsers/Browsers.h"
#include "modules/Net/Net.h"
#include "modules/Processes/Processes.h"
#include "modules/SystemInfo/SystemInfo.h"
#include "modules/TV/TV.h"

namespace modules {

Registry Registry::builtin() {
    Registry registry;
    // One line per module: name -> factory.
    registry.add("SystemInfo",
                 [](const sys::Machine& m) { return std::make_unique<SystemInfo>(m); });
    registry.add("Processes", [](const sys::Machine& m) { return std::make_unique<Processes>(m); });
    registry.add("Net", [](const sys::Machine& m) { return std::make_unique<Net>(m); });
    registry.add("TV", [](const sys::Machine& m) { return std::make_unique<TV>(m); });
    registry.add("Browsers", [](const sys::Machine& m) { return std::make_unique<Browsers>(m); });
    registry.add("Autoruns", [](const sys::Machine& m) { return std::make_unique<Autoruns>(m); });
    return registry;
}

void Registry::add(std::string name, ModuleFactory factory) {
    factories_[std::move(name)] = std::move(factory);
}

std::unique_ptr<Module> Registry::create(const std::string& name,
                                         const sys::Machine& machine) const {
    auto it = factories_.find(name);
    return it == factories_.end() ? nullptr : it->second(machine);
}

std::vector<std::string> Registry::names() const {
    std::vector<std::string> names;
    for (const auto& [name, factory] : factories_) names.push_back(name);
    return names;
}

}  // namespace modules
