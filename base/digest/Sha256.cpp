#include "base/digest/Sha256.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace zorbel {

void Sha256::Free::operator()(evp_md_ctx_st* context) const {
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
    if (context_ && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1)
        context_.reset();
}

bool Sha256::update(std::span<const std::byte> bytes) {
    return context_ && EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1;
}

std::string Sha256::finish() {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (!context_ || EVP_DigestFinal_ex(context_.get(), digest.data(), &length) != 1 || length != 32)
        return {};
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i) {
        text += digits[digest[i] >> 4];
        text += digits[digest[i] & 15];
    }
    return text;
}

std::string sha256Hex(std::span<const std::byte> bytes) {
    Sha256 hash;
    hash.update(bytes);
    auto text = hash.finish();
    if (text.empty())
        throw std::runtime_error("SHA-256 failed");
    return text;
}

} // namespace zorbel
