#include "viewer/reading/display/WindowDrag.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

namespace {

constexpr double knee = 256.0;

/// Pixels from width 0 to this width (in units): one a unit up to the knee, from there on width/256 units a
/// pixel. Smooth at the knee.
double pixelsOf(double width) {
    return width <= knee ? width : knee * (1.0 + std::log(width / knee));
}

double widthAt(double pixels) {
    return pixels <= knee ? pixels : knee * std::exp(pixels / knee - 1.0);
}

} // namespace

WindowDrag::WindowDrag(const imaging::LevelWindow& start, double minimum, double maximum) : start_(start) {
    const double range = maximum - minimum;
    if (!(range > 0.0) || !std::isfinite(range)) {
        widest_ = std::max(start.width, 1.0);
        lowest_ = highest_ = start.center;
        return;
    }
    unit_ = std::min(1.0, range / knee);
    narrowest_ = std::min(start.width, start.function == imaging::VoiFunction::Linear ? 1.0 : unit_);
    widest_ = std::max({start.width, 2.0 * range, narrowest_});
    lowest_ = std::min(minimum, start.center);
    highest_ = std::max(maximum, start.center);
}

imaging::LevelWindow WindowDrag::at(double right, double down) const {
    imaging::LevelWindow window = start_;
    window.explanation.clear();
    if (right != 0.0) {
        const double pixels = std::max(0.0, pixelsOf(start_.width / unit_) + right);
        window.width = std::clamp(unit_ * widthAt(pixels), narrowest_, widest_);
    }
    const double perPixel = std::max(unit_, start_.width / knee);
    window.center = std::clamp(start_.center + perPixel * down, lowest_, highest_);
    return window;
}

} // namespace zorbel
