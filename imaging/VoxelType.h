#pragma once

#include <cstddef>
#include <string_view>

namespace zorbel::imaging {

enum class VoxelType { UInt8, Int8, UInt16, Int16, UInt32, Int32, Float32 };

constexpr std::size_t bytesPerComponent(VoxelType type) {
    switch (type) {
    case VoxelType::UInt8:
    case VoxelType::Int8:
        return 1;
    case VoxelType::UInt16:
    case VoxelType::Int16:
        return 2;
    default:
        return 4;
    }
}

/// "uint8", "int8", "uint16", "int16", "uint32", "int32", "float32".
constexpr std::string_view voxelTypeName(VoxelType type) {
    switch (type) {
    case VoxelType::UInt8:
        return "uint8";
    case VoxelType::Int8:
        return "int8";
    case VoxelType::UInt16:
        return "uint16";
    case VoxelType::Int16:
        return "int16";
    case VoxelType::UInt32:
        return "uint32";
    case VoxelType::Int32:
        return "int32";
    case VoxelType::Float32:
        break;
    }
    return "float32";
}

} // namespace zorbel::imaging
