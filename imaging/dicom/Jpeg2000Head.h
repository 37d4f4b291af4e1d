#pragma once

#include <cstddef>
#include <span>

namespace zorbel::imaging {

/// What a JPEG 2000 codestream says of itself ahead of its data (ITU-T T.800, Annex A).
struct Jpeg2000Head {
    int rows = 0;
    int columns = 0;
    unsigned components = 0;
};

/// The codestream alone, where a file put it into the boxes of T.800, Annex I, too. Throws std::runtime_error
/// where boxes are damaged or say that the samples are indices of a palette, for which the codec ends the
/// program.
std::span<const std::byte> jpeg2000Codestream(std::span<const std::byte> bytes);

/// Strict: every marker segment up to the first tile is walked through. Throws std::runtime_error.
Jpeg2000Head readJpeg2000Head(std::span<const std::byte> codestream);

} // namespace zorbel::imaging
