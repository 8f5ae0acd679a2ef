// An MD5 digest fed in pieces. This is the only file pair that names a digest library, so that a
// platform's own library (CommonCrypto on macOS) can replace OpenSSL's without touching callers.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

class Md5 {
public:
    using Digest = std::array<std::uint8_t, 16>;

    // Throws std::bad_alloc or std::runtime_error when the library cannot start a digest.
    Md5();
    ~Md5();
    Md5(const Md5&) = delete;
    Md5& operator=(const Md5&) = delete;

    void update(const void* data, std::size_t size);
    // The digest of everything given so far; the object is spent afterwards.
    Digest finish();

    // 32 lower-case hexadecimal digits, the bytes in order.
    static std::string to_hex(const Digest& digest);

private:
    struct State;
    std::unique_ptr<State> state_;
};
