// Modules by name: the counterpart of looking a class up by its name. The built-in table lists
// every collection module; tests add their own.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libs/sys/Machine.h"
#include "modules/Module.h"

namespace modules {

using ModuleFactory = std::function<std::unique_ptr<Module>(const sys::Machine&)>;

class Registry {
public:
    // Every module this program has.
    static Registry builtin();

    void add(std::string name, ModuleFactory factory);
    // A new instance of the named module, or nullptr when no module has that name.
    std::unique_ptr<Module> create(const std::string& name, const sys::Machine& machine) const;
    std::vector<std::string> names() const;

private:
    std::map<std::string, ModuleFactory> factories_;
};

}  // namespace modules
