#include "viewer/reading/display/Image2DState.h"

namespace zorbel {

void Image2DState::mirror() {
    orientation_.mirror();
    adjustment_.mirror();
}

void Image2DState::flipVertical() {
    orientation_.flipVertical();
    adjustment_.flipVertical();
}

void Image2DState::rotate180() {
    orientation_.rotate180();
    adjustment_.rotate180();
}

std::string_view Image2DState::orientationChip() const {
    const bool leftRight = adjustment_.matrix()[0] < 0;
    const bool topBottom = adjustment_.matrix()[3] < 0;
    if (leftRight && topBottom)
        return "Rotated 180°";
    if (leftRight)
        return "Mirrored left / right";
    if (topBottom)
        return "Flipped top / bottom";
    if (upright_.isOriginal())
        return "Original orientation";
    return panoramic_ ? "Panorama corrected upright" : "Turned upright";
}

std::string_view Image2DState::modeChip() const {
    if (isAdjusted())
        return panoramic_ ? "PANO · adjusted" : "2D · adjusted";
    return panoramic_ && !upright_.isOriginal() ? "PANO · upright" : "2D review";
}

std::string Image2DState::orientationStatus() const {
    return "2D orientation: " + std::string(orientationChip());
}

} // namespace zorbel
