#pragma once

#include "imaging/ImageMetadata.h"
#include "imaging/geometry/Vector3.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace zorbel::imaging {

struct DicomFileHeader;

/// One frame of one file: what grouping and decoding need to know of it.
struct DicomFrame {
    std::filesystem::path file;
    std::size_t frameIndex = 0; ///< within the file
    std::string sopInstanceUID;
    std::optional<Vector3> position; ///< ImagePositionPatient: centre of the first voxel, LPS mm
    ModalityRescale rescale;
    std::shared_ptr<const DicomFileHeader> header; ///< shared by the frames of one file
};

} // namespace zorbel::imaging
