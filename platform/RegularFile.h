#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <utility>

namespace zorbel {

/// A file opened for reading that is certain to be a plain file: a link (as the path's last part), a folder,
/// a device or a pipe is refused, and opening never blocks. For files that somebody may have tampered with.
/// Failures are std::system_error whose text names the path (UTF-8). One thread at a time.
class RegularFile {
public:
    explicit RegularFile(const std::filesystem::path& file);
    RegularFile(RegularFile&& other) noexcept
        : handle_(std::exchange(other.handle_, none)), size_(other.size_), file_(std::move(other.file_)) {}
    RegularFile(const RegularFile&) = delete;
    RegularFile& operator=(const RegularFile&) = delete;
    ~RegularFile();

    /// In bytes, when it was opened.
    std::uint64_t size() const { return size_; }
    /// Fills the span as far as the file reaches; how many bytes that were, fewer only at the file's end.
    std::size_t read(std::span<std::byte> bytes);

private:
    static constexpr std::intptr_t none = -1;

    std::intptr_t handle_ = none; ///< the system's file descriptor or handle
    std::uint64_t size_ = 0;
    std::filesystem::path file_;
};

} // namespace zorbel
