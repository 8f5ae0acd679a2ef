#include "Quiet.h"
#include "libs/Disk/Disk.h"
#include "libs/plist/OldStyle.h"
#include "libs/plist/Reader.h"
#include "libs/plist/XmlWriter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::optional<plist::Value> value = plist::parse(fuzz_text(data, size));
    if (!value) return 0;
    if (!plist::contains_null(*value)) plist::to_xml(*value);
    plist::describe(*value);
    if (plist::Dictionary* dict = value->as_dict()) Disk::sanitize_json_dict(std::move(*dict));
    return 0;
}
