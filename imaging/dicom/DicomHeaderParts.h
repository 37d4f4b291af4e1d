#pragma once

#include "imaging/dicom/DicomAttributes.h"
#include "imaging/dicom/DicomFileHeader.h"

namespace zorbel::imaging {

/// The parts of readDicomFileHeader(); each fills its members from the file's root data set and throws
/// std::runtime_error with the reason, without the file's name.

/// Size, sample format, colours and number of frames (returned).
std::size_t readPixelDescription(const DicomAttributes& root, DicomFileHeader& header);

/// Position, orientation, spacing, rescale and windows of each frame.
void readFrames(const DicomAttributes& root, std::size_t frameCount, DicomFileHeader& header);

/// Patient, study and display attributes; after readFrames().
void readMetadata(const DicomAttributes& root, DicomFileHeader& header);

/// WindowCenter, WindowWidth and what belongs to them.
std::vector<LevelWindow> readWindows(const DicomAttributes& attributes);

/// A lookup table of a modality or value of interest sequence item.
struct LookupTableItem {
    std::int32_t firstMapped = 0;
    unsigned bits = 16;
    std::vector<std::uint16_t> entries;
};
std::optional<LookupTableItem> readLookupTable(const DicomAttributes& item, bool signedInput);

} // namespace zorbel::imaging
