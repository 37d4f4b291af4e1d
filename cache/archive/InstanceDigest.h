#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace zorbel {

/// The SHA-256 of one file, or the step at which it failed.
struct InstanceDigest {
    enum class Step { Done, Open, Length, Initialise, Read, Hash, Finish, Cancelled };

    Step failedAt = Step::Done;
    std::string sha256;
};

/// Reads a plain file (no link, folder or pipe) in blocks of 64 KiB. Length means that it does not hold
/// exactly `expectedLength` bytes. Any thread.
InstanceDigest digestOfInstance(
    const std::filesystem::path& file, std::uint64_t expectedLength,
    const std::atomic<bool>* cancel = nullptr);

/// Runs work(0) to work(count - 1), in this order but side by side on all cores, until one throws; then
/// rethrows what the first of those that failed threw.
void forEachOnAllCores(std::size_t count, const std::function<void(std::size_t)>& work);

} // namespace zorbel
