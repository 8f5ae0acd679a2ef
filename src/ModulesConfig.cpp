#include "ModulesConfig.h"

#include <string_view>

#include "libs/plist/Reader.h"
#include "libs/sys/FileSystem.h"

namespace tvtriage_resources {
extern const std::string_view kDefaultModulesPlist;
}

plist::Value bundled_modules_config() {
    auto config = plist::parse(tvtriage_resources::kDefaultModulesPlist);
    return config ? std::move(*config) : plist::Value(plist::Dictionary{});
}

std::optional<plist::Value> read_modules_config(const std::filesystem::path& file,
                                                std::string* error) {
    auto bytes = sys::FileSystem::host().read_file(file.string());
    if (!bytes) {
        if (error) *error = "cannot read " + file.string();
        return std::nullopt;
    }
    std::string parse_error;
    auto config = plist::parse(*bytes, &parse_error);
    if (!config || !config->as_dict()) {
        if (error)
            *error = file.string() + " is not a property-list dictionary" +
                     (parse_error.empty() ? "" : ": " + parse_error);
        return std::nullopt;
    }
    return config;
}

plist::Value default_modules_config(const std::filesystem::path& program_folder) {
    if (auto beside = read_modules_config(program_folder / "modules.plist", nullptr)) {
        return std::move(*beside);
    }
    return bundled_modules_config();
}
