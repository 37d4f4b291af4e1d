#pragma once

#include "imaging/display/VolumePreset.h"

#include <array>
#include <string>
#include <string_view>

namespace zorbel {

using imaging::VolumeBlendMode;
using imaging::volumeBlendModeNames;
using imaging::VolumePreset;
using imaging::volumePresetNames;

/// What the 3D view is to draw of the shown image, and what is said about it. One thread.
class VolumeDisplay {
public:
    static constexpr std::string_view readyText = "GPU volume rendering ready";
    static constexpr std::string_view enabledText = "3D volume rendering enabled";
    static constexpr std::string_view disabledText = "3D volume rendering disabled";
    static constexpr std::string_view pausedText = "3D volume rendering paused";
    static constexpr std::string_view shownText =
        "GPU volume rendering enabled  |  Drag to rotate  |  Wheel to zoom";
    static constexpr std::string_view unavailableText = "3D rendering unavailable for non-volumetric data";

    /// At least 3 slices, and more than one voxel across in both directions.
    static bool isVolumetric(const std::array<int, 3>& dimensions);

    /// Starts over for an image: on for volumetric data, with the preset of its modality, composite.
    void setImage(const std::array<int, 3>& dimensions, std::string_view modality);

    bool isEnabled() const { return enabled_; }
    /// Of the image given last.
    bool isVolumetric() const { return volumetric_; }
    /// Never on for an image that is not volumetric. Returns the status text.
    std::string_view setEnabled(bool enabled);
    VolumePreset preset() const { return preset_; }
    void setPreset(VolumePreset preset) { preset_ = preset; }
    VolumeBlendMode blendMode() const { return blendMode_; }
    void setBlendMode(VolumeBlendMode mode) { blendMode_ = mode; }

    /// "Preset: CT Bone  |  GPU rendering".
    std::string presetText() const;
    /// "Blend: MIP  |  GPU rendering".
    std::string blendText() const;

private:
    bool volumetric_ = false;
    bool enabled_ = false;
    VolumePreset preset_ = VolumePreset::MrGeneric;
    VolumeBlendMode blendMode_ = VolumeBlendMode::Composite;
};

} // namespace zorbel
