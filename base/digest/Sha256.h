#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>

struct evp_md_ctx_st;

namespace zorbel {

/// A running SHA-256. Every operation returns whether it succeeded, because those who hash have their own
/// words for each failure. One thread.
class Sha256 {
public:
    Sha256();
    bool isReady() const { return context_ != nullptr; } ///< false: the digest could not be initialised
    bool update(std::span<const std::byte> bytes);
    /// 64 lower-case hexadecimal digits; empty on failure. Once.
    std::string finish();

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

/// Of a text in memory; 64 lower-case hexadecimal digits.
std::string sha256Hex(std::span<const std::byte> bytes);

} // namespace zorbel
