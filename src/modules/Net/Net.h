// The network state module: "Net.plist" with exactly six keys, "lsof" (processes holding network
// sockets, UNIX-domain sockets or pipes), "hosts", "resolv.conf" and "pf.conf" (configuration
// texts), "pf.anchors" (file name -> text) and "Network" (the profiler's network sections).
// Every source fails soft into an empty value of its kind. The report is always empty.
//
// The configuration files are read under the examined machine's root, from "/etc" and "/var"
// where the "/private" forms do not exist (Linux). The open-files lister and
// the profiler are live sources: without them the module says so once in its log and leaves
// "lsof" and "Network" empty.
#pragma once

#include <filesystem>

#include "libs/plist/Value.h"
#include "libs/sys/Machine.h"
#include "modules/Module.h"

namespace modules {

class Net : public Module {
public:
    explicit Net(const sys::Machine& machine);

    ModuleReport start(const sys::OutputPath& module_folder) override;

    // Process id text -> {"command", "net": [{"type", "name"}, ...]}; empty without live sources,
    // when the lister cannot be started or when its output is not UTF-8 text.
    plist::Dictionary lsofInfo();
    // Anchor file name -> its text, for every entry of the anchors folder.
    plist::Dictionary getAnchors();
    // The profiler's array for the network data types, passed through "net.tmp" in the
    // temporary directory (left there); empty when unusable or without live sources. Called from
    // start(), which names the run's output.
    plist::Array getNetworkInfo();

private:
    const sys::Machine& machine_;
    const sys::RunOutput* output_ = nullptr;
};

}  // namespace modules
