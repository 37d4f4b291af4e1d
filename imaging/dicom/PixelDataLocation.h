#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace zorbel::imaging {

/// Bytes of a file.
struct FileRange {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

/// Where a file keeps its pixel data, and how they are encoded.
struct PixelDataLocation {
    std::string transferSyntax; ///< UID
    bool deflated = false;      ///< the whole data set is; the ranges below mean nothing then
    bool encapsulated = false;
    bool swapWords = false; ///< words of 16 bits in big-endian order
    FileRange native;
    std::vector<FileRange> fragments;
    /// From the first byte of the first fragment's item to the first byte of each frame's; may be empty.
    std::vector<std::uint64_t> frameOffsets;

    /// The ranges that together are one frame's compressed bytes, for each frame; nothing when the file does
    /// not tell its frames apart.
    std::optional<std::vector<std::vector<FileRange>>>
    framesOfFragments(std::istream& file, std::size_t frameCount) const;
};

/// Fills the ranges of `location`; the stream stands right behind the length field of the pixel data element.
/// False when there is no such element.
bool locatePixelData(std::istream& file, std::uint64_t fileSize, PixelDataLocation& location);

/// False when an element of the header claims to be longer than the file. The parser would allocate that much
/// before it finds out.
bool headerLengthsArePlausible(std::istream& file, std::uint64_t fileSize);

} // namespace zorbel::imaging
