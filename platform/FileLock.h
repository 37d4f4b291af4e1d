#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>

namespace zorbel {

/// A lock on a file, in this process and against others: an exclusive one against every other FileLock on it,
/// a shared one against exclusive ones. It ends with the object, and with its process however that ends. Any
/// thread, one at a time.
class FileLock {
public:
    /// Creates the file, private, when it is not there; empty when somebody else holds it. Throws
    /// std::system_error, with the path in its text, on every other failure (the folder must exist).
    static std::optional<FileLock> tryAcquire(const std::filesystem::path& file) { return take(file, false); }
    /// The same for a shared lock; empty when somebody holds an exclusive one.
    static std::optional<FileLock> tryShare(const std::filesystem::path& file) { return take(file, true); }
    /// tryAcquire() again and again until the patience is over.
    static std::optional<FileLock>
    acquire(const std::filesystem::path& file, std::chrono::milliseconds patience);

    FileLock(FileLock&& other) noexcept
        : handle_(std::exchange(other.handle_, none)), file_(std::move(other.file_)) {}
    FileLock& operator=(FileLock&& other) noexcept {
        if (this != &other) {
            release();
            handle_ = std::exchange(other.handle_, none);
            file_ = std::move(other.file_);
        }
        return *this;
    }
    ~FileLock() { release(); }

    /// Removes the file and ends the lock in one step: nobody can take the lock of a file that then goes.
    void removeFile() noexcept;

private:
    static constexpr std::intptr_t none = -1;

    FileLock(std::intptr_t handle, std::filesystem::path file) : handle_(handle), file_(std::move(file)) {}
    static std::optional<FileLock> take(const std::filesystem::path& file, bool shared);
    void release() noexcept;

    std::intptr_t handle_ = none; ///< the system's file descriptor or handle
    std::filesystem::path file_;
};

} // namespace zorbel
