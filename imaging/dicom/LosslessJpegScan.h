#pragma once

#include <cstddef>
#include <span>

namespace zorbel::imaging {

/// Walks through the code words of a lossless JPEG stream (ITU-T T.81 Annex H, SOF3) without decoding any
/// sample: false where they end before the last sample, go on behind it or are none. The decoder invents what
/// is missing, and tells nobody. True, unseen, for what is no such stream, has several scans or subsampled
/// components. The header must have passed readJpegHead().
bool losslessJpegScanIsWhole(std::span<const std::byte> stream);

} // namespace zorbel::imaging
