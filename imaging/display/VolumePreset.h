#pragma once

#include <array>
#include <string_view>

namespace zorbel::imaging {

/// The transfer functions to choose from in the 3D view; in the list's order.
enum class VolumePreset {
    CtDefault = 0,    ///< bone and teeth, with the skin as a faint veil
    CtBlackWhite = 1, ///< bone and teeth in grey
    CtThorax = 2,     ///< translucent soft tissue around pale bone
    CtBone = 3,       ///< opaque bone and teeth alone
    CtBoneEdge = 4,   ///< the surfaces of bone, see-through where it is even: roots and canals
    CtCardiac = 5,    ///< contrast-filled vessels red, bone pale
    MrGeneric = 6,    ///< grey over the image's own range of values
};

/// In the order of VolumePreset.
constexpr std::array<std::string_view, 7> volumePresetNames{
    "CT Default", "CT B/W", "CT Thorax", "CT Bone", "CT Bone Edge", "CT Cardiac", "MR / Generic"};

/// How the values along a ray become one colour; the values of `volumerendering.blendmode`.
enum class VolumeBlendMode { Composite = 0, Mip = 1, MinIp = 2, Average = 3 };

/// In the order of VolumeBlendMode.
constexpr std::array<std::string_view, 4> volumeBlendModeNames{"Composite", "MIP", "MinIP", "Average"};

} // namespace zorbel::imaging
