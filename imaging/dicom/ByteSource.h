#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>

namespace zorbel::imaging {

/// Bytes at any position of a file or of memory.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    std::uint64_t size() const { return size_; }
    /// False when the source does not hold all of these bytes.
    bool read(std::uint64_t position, void* to, std::size_t count);

protected:
    explicit ByteSource(std::uint64_t size) : size_(size) {}
    virtual bool readInside(std::uint64_t position, void* to, std::size_t count) = 0;
    std::uint64_t size_;
};

/// Small pieces at rising positions cost no system call each.
class FileSource : public ByteSource {
public:
    /// Throws std::runtime_error when the file cannot be opened.
    explicit FileSource(const std::filesystem::path& file);

protected:
    bool readInside(std::uint64_t position, void* to, std::size_t count) override;

private:
    bool readFile(std::uint64_t position, void* to, std::size_t count);

    std::ifstream file_;
    std::array<char, 16384> window_{};
    std::uint64_t begin_ = 0;
    std::size_t filled_ = 0;
};

/// Memory of somebody else.
class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::span<const std::byte> bytes) : ByteSource(bytes.size()), bytes_(bytes) {}

protected:
    bool readInside(std::uint64_t position, void* to, std::size_t count) override;

private:
    std::span<const std::byte> bytes_;
};

} // namespace zorbel::imaging
