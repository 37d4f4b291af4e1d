#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>

namespace zorbel {

/// The SHA-256 of one file, or the step at which it failed.
struct InstanceDigest {
    enum class Step { Done, Open, Length, Initialise, Read, Hash, Finish };

    Step failedAt = Step::Done;
    std::string sha256;
};

/// Reads a plain file (no link, folder or pipe) in blocks of 64 KiB. Length means that it does not hold
/// exactly `expectedLength` bytes. Throws WorkCancelled once the flag is set. Any thread.
InstanceDigest digestOfInstance(
    const std::filesystem::path& file, std::uint64_t expectedLength,
    const std::atomic<bool>* cancel = nullptr);

} // namespace zorbel
