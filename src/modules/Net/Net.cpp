#include "modules/Net/Net.h"

#include "libs/Disk/Disk.h"
#include "libs/sys/Log.h"

namespace modules {
namespace {

constexpr std::string_view kHosts = "/private/etc/hosts";
constexpr std::string_view kResolvConf = "/private/var/run/resolv.conf";
// Where other systems keep the resolver's file; on a Mac it is a link to the one above.
constexpr std::string_view kResolvConfElsewhere = "/private/etc/resolv.conf";
constexpr std::string_view kPfConf = "/private/etc/pf.conf";

}  // namespace

Net::Net(const sys::Machine& machine) : machine_(machine) {}

ModuleReport Net::start(const sys::OutputPath& module_folder) {
    Disk::create_empty_files(module_folder, {"Net.plist", "Net.log"});
    Disk::redirectLog(module_folder, "Net.log");

    const bool live = machine_.live() != nullptr;
    if (!live) {
        sys::logf("{} is not the running system: lsof and the network profile are not collected.",
                  machine_.files().root().string());
    }
    const sys::FileSystem& files = machine_.files();
    std::string resolv_conf = files.system_path(kResolvConf);
    if (!files.exists(resolv_conf)) resolv_conf = files.system_path(kResolvConfElsewhere);
    output_ = &module_folder.output();

    plist::Dictionary result;
    result["lsof"] = live ? lsofInfo() : plist::Dictionary{};
    result["hosts"] = Disk::getFile(files, files.system_path(kHosts), "hosts");
    result["resolv.conf"] = Disk::getFile(files, resolv_conf, "resolv.conf");
    result["pf.conf"] = Disk::getFile(files, files.system_path(kPfConf), "pf.conf");
    result["pf.anchors"] = getAnchors();
    result["Network"] = live ? getNetworkInfo() : plist::Array{};

    sys::log_line("Writing the final plist...");
    Disk::write_plist(plist::Value(std::move(result)), module_folder / "Net.plist");
    sys::log_line("Net.plist done!");
    return {};
}

}  // namespace modules
