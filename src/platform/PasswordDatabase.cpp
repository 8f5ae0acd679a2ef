#include "platform/PasswordDatabase.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace platform {
namespace {

// Directory services can hand back entries longer than the advertised maximum; grow up to this.
constexpr std::size_t kMaxBufferSize = 1 << 20;

std::size_t initial_buffer_size() {
    long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    return suggested > 0 ? static_cast<std::size_t>(suggested) : 16384;
}

}  // namespace

std::optional<PasswordRecord> find_password_record(std::uint32_t uid) {
    std::vector<char> buffer(initial_buffer_size());
    for (;;) {
        passwd entry{};
        passwd* found = nullptr;
        int error =
            ::getpwuid_r(static_cast<uid_t>(uid), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE && buffer.size() < kMaxBufferSize) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0 || found == nullptr) return std::nullopt;
        PasswordRecord record;
        record.login = found->pw_name ? found->pw_name : "";
        record.primary_gid = static_cast<std::uint32_t>(found->pw_gid);
        record.gecos = found->pw_gecos ? found->pw_gecos : "";
        return record;
    }
}

std::optional<PasswordEntry> find_password_entry(std::uint32_t uid) {
    auto record = find_password_record(uid);
    if (!record) return std::nullopt;
    return PasswordEntry{record->login, record->primary_gid};
}

}  // namespace platform
