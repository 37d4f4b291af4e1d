#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zorbel::demo {

/// What became of the files of an import.
struct ImportResult {
    std::size_t stored = 0;
    std::size_t alreadyStored = 0;
    std::size_t skipped = 0;           ///< files that are not DICOM images
    std::vector<std::string> failures; ///< "path: reason" of DICOM files that the archive refused
};

} // namespace zorbel::demo
