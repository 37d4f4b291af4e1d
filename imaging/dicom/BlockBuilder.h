#pragma once

#include "imaging/DicomSeriesReader.h"
#include "imaging/dicom/DicomFileHeader.h"

#include <memory>
#include <vector>

namespace zorbel::imaging {

/// Groups the frames of all files into blocks, as DicomSeriesReader::analyze() describes. The result does not
/// depend on the order of the files.
std::vector<ImageBlock> buildBlocks(std::vector<std::shared_ptr<const DicomFileHeader>> headers);

} // namespace zorbel::imaging
