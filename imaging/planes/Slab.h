#pragma once

#include <string_view>

namespace zorbel::imaging {

/// How the samples along a pixel's way through a slab become one value, in the order in which they are
/// offered.
enum class SlabMode { Mip, Average, MinIp, Sum };

constexpr int slabModeCount = 4;

/// "MIP", "Average", "MinIP", "Sum".
constexpr std::string_view slabModeName(SlabMode mode) {
    switch (mode) {
    case SlabMode::Mip:
        return "MIP";
    case SlabMode::Average:
        return "Average";
    case SlabMode::MinIp:
        return "MinIP";
    case SlabMode::Sum:
        break;
    }
    return "Sum";
}

/// Parallel planes, the shown one in the middle and as many on either side, that make one picture.
struct Slab {
    SlabMode mode = SlabMode::Mip;
    int count = 1;        ///< odd; 1 is the plane alone, whatever the mode
    double spacing = 1.0; ///< of two planes, millimetres

    friend bool operator==(const Slab&, const Slab&) = default;
};

} // namespace zorbel::imaging
