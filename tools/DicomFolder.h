#pragma once

#include "imaging/DicomSeriesReader.h"

#include <filesystem>

namespace zorbel::tools {

/// Groups the DICOM files below a folder with the viewer's own reader. Throws std::runtime_error when there
/// is no such folder or not one image in it.
imaging::DicomAnalysis analyzeFolder(const std::filesystem::path& folder);

} // namespace zorbel::tools
