#pragma once

#include "imaging/display/ImageOrientation2D.h"

#include <string>
#include <string_view>

namespace zorbel {

/// How the 2D view's image is turned and toned: the pose it was first shown in, what the reader changed
/// since, and what the chips say of it. The operations act on what is seen and compose. One thread.
class Image2DState {
public:
    Image2DState() = default;
    /// upright: the pose in which the image is first shown. panoramic: the study is a panoramic image.
    Image2DState(const imaging::ImageOrientation2D& upright, bool panoramic)
        : upright_(upright), orientation_(upright), panoramic_(panoramic) {}

    void mirror();
    void flipVertical();
    void rotate180();
    void toggleInverted() { inverted_ = !inverted_; }
    /// Back to the first pose and normal tones.
    void reset() { *this = Image2DState(upright_, panoramic_); }

    /// What the view is to show, the upright pose included.
    const imaging::ImageOrientation2D& orientation() const { return orientation_; }
    /// Relative to the image's own tones; a MONOCHROME1 image in normal tones is not inverted here.
    bool isInverted() const { return inverted_; }
    bool isAdjusted() const { return !adjustment_.isOriginal(); }

    /// What the reader did, "Mirrored left / right", "Flipped top / bottom" or "Rotated 180°"; else how the
    /// image was first shown: "Panorama corrected upright", "Turned upright" or "Original orientation".
    std::string_view orientationChip() const;
    /// "PANO · adjusted" or "2D · adjusted"; else "PANO · upright" for a panorama corrected upright and
    /// "2D review" for any other image.
    std::string_view modeChip() const;
    std::string_view toneChip() const { return inverted_ ? "Inverted tones" : "Normal tones"; }
    /// "2D orientation: Rotated 180°".
    std::string orientationStatus() const;
    std::string_view toneStatus() const {
        return inverted_ ? "2D view: inverted grayscale" : "2D view: normal grayscale";
    }

private:
    imaging::ImageOrientation2D upright_;
    imaging::ImageOrientation2D orientation_;
    imaging::ImageOrientation2D adjustment_; ///< since the first pose; no quarter turns
    bool panoramic_ = false;
    bool inverted_ = false;
};

} // namespace zorbel
