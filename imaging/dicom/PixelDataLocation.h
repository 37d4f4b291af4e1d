#pragma once

#include "imaging/dicom/DataSet.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
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
    bool deflated = false;      ///< the whole data set is; the ranges below lie in the inflated bytes
    bool encapsulated = false;
    bool swapWords = false; ///< words of 16 bits in big-endian order
    FileRange native;
    std::vector<FileRange> fragments;
    /// From the first byte of the first fragment's item to the first byte of each frame's; may be empty.
    std::vector<std::uint64_t> frameOffsets;

    /// The ranges that together are one frame's compressed bytes, for each frame; nothing when the file does
    /// not tell its frames apart.
    std::optional<std::vector<std::vector<FileRange>>>
    framesOfFragments(ByteSource& source, std::size_t frameCount) const;
};

/// Fills the ranges of `location` from the pixel data element at which parsing stopped; `offsetTable`: the
/// value of the extended offset table, or empty. False when there is no pixel data.
bool locatePixelData(
    ByteSource& source, const ParsedFile& file, std::string_view offsetTable, PixelDataLocation& location);

} // namespace zorbel::imaging
