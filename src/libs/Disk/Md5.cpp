#include "libs/Disk/Md5.h"

#include <openssl/evp.h>

#include <new>
#include <stdexcept>

struct Md5::State {
    EVP_MD_CTX* context = nullptr;
    ~State() { EVP_MD_CTX_free(context); }
};

Md5::Md5() : state_(std::make_unique<State>()) {
    state_->context = EVP_MD_CTX_new();
    if (!state_->context) throw std::bad_alloc();
    if (EVP_DigestInit_ex(state_->context, EVP_md5(), nullptr) != 1) {
        throw std::runtime_error("MD5 digest is not available");
    }
}

Md5::~Md5() = default;

void Md5::update(const void* data, std::size_t size) {
    if (EVP_DigestUpdate(state_->context, data, size) != 1) {
        throw std::runtime_error("MD5 digest update failed");
    }
}

Md5::Digest Md5::finish() {
    Digest digest{};
    unsigned int length = 0;
    if (EVP_DigestFinal_ex(state_->context, digest.data(), &length) != 1 ||
        length != digest.size()) {
        throw std::runtime_error("MD5 digest could not be finished");
    }
    return digest;
}

std::string Md5::to_hex(const Digest& digest) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(digest.size() * 2);
    for (std::uint8_t byte : digest) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0f];
    }
    return text;
}
