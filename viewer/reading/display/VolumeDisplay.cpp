#include "viewer/reading/display/VolumeDisplay.h"

namespace zorbel {

bool VolumeDisplay::isVolumetric(const std::array<int, 3>& dimensions) {
    return dimensions[2] >= 3 && dimensions[0] > 1 && dimensions[1] > 1;
}

void VolumeDisplay::setImage(const std::array<int, 3>& dimensions, std::string_view modality) {
    volumetric_ = enabled_ = isVolumetric(dimensions);
    preset_ = modality == "CT" ? VolumePreset::CtDefault : VolumePreset::MrGeneric;
    blendMode_ = VolumeBlendMode::Composite;
}

std::string_view VolumeDisplay::setEnabled(bool enabled) {
    if (enabled && !volumetric_)
        return unavailableText;
    enabled_ = enabled;
    return enabled_ ? enabledText : disabledText;
}

std::string VolumeDisplay::presetText() const {
    return "Preset: " + std::string(volumePresetNames[static_cast<std::size_t>(preset_)]) +
           "  |  GPU rendering";
}

std::string VolumeDisplay::blendText() const {
    return "Blend: " + std::string(volumeBlendModeNames[static_cast<std::size_t>(blendMode_)]) +
           "  |  GPU rendering";
}

} // namespace zorbel
