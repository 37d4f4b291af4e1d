#pragma once

#include "imaging/Image.h"

#include <cstdint>
#include <utility>

namespace zorbel::imaging {

/// Calls visitor(const T* values, std::size_t count) with the voxel buffer under its own type: the one place
/// that turns an image's voxel type into a template argument. count is voxels × components.
template <class Visitor>
decltype(auto) visitVoxels(const Image& image, Visitor&& visitor) {
    const auto bytes = image.voxels();
    const std::size_t count = bytes.size() / bytesPerComponent(image.voxelType());
    const void* data = bytes.data();
    switch (image.voxelType()) {
    case VoxelType::UInt8:
        return visitor(static_cast<const std::uint8_t*>(data), count);
    case VoxelType::Int8:
        return visitor(static_cast<const std::int8_t*>(data), count);
    case VoxelType::UInt16:
        return visitor(static_cast<const std::uint16_t*>(data), count);
    case VoxelType::Int16:
        return visitor(static_cast<const std::int16_t*>(data), count);
    case VoxelType::UInt32:
        return visitor(static_cast<const std::uint32_t*>(data), count);
    case VoxelType::Int32:
        return visitor(static_cast<const std::int32_t*>(data), count);
    case VoxelType::Float32:
        break;
    }
    return visitor(static_cast<const float*>(data), count);
}

} // namespace zorbel::imaging
