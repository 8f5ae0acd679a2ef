// The password database through the re-entrant POSIX call, shared by every platform's live
// sources: the process table asks once per process, so the lookup must not share a static buffer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/LiveSystem.h"

namespace platform {

struct PasswordRecord {
    std::string login;
    std::uint32_t primary_gid = 0;
    std::string gecos;  // the comment field as stored; its first comma-separated part is the name
};

// The entry of a user id; empty when the id has none or the database cannot be read.
std::optional<PasswordRecord> find_password_record(std::uint32_t uid);

// The same lookup in the shape the live sources hand out.
std::optional<PasswordEntry> find_password_entry(std::uint32_t uid);

}  // namespace platform
