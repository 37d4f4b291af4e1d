#pragma once

#include "imaging/dicom/DicomFileHeader.h"

#include <cstddef>
#include <optional>
#include <span>

namespace zorbel::imaging {

/// What a JPEG stream (ITU-T T.81) says of itself ahead of its data.
struct JpegHead {
    unsigned precision = 0; ///< bits a sample
    unsigned components = 0;
    int rows = 0;
    int columns = 0;
    bool lossy = false;
    std::optional<Photometric> colors; ///< by a JFIF or Adobe marker
};

/// Strict: where a header is odd without being wrong, GDCM's decoder ends the program. Throws
/// std::runtime_error.
JpegHead readJpegHead(std::span<const std::byte> stream);

/// Bytes up to the end mark and with it, whatever follows; all of them where there is none.
std::size_t jpegLength(std::span<const std::byte> stream);

} // namespace zorbel::imaging
