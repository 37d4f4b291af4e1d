#include "viewer/reading/display/SlabModel.h"

#include "viewer/reading/base/NumberText.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

bool SlabModel::setSliceCount(int count) {
    const int before = count_;
    count_ = std::clamp(count, fewestSlices, mostSlices) | 1;
    return count_ != before;
}

bool SlabModel::dragTo(double halfThickness, double sliceSpacing) {
    if (!(sliceSpacing > 0.0) || !std::isfinite(halfThickness))
        return false;
    const bool wasEnabled = enabled_;
    const double slices = std::clamp(2.0 * halfThickness / sliceSpacing, 1.0, 1.0 * mostSlices);
    const int count = 2 * static_cast<int>(std::lround((slices - 1.0) / 2.0)) + 1;
    enabled_ = count >= fewestSlices;
    const bool counted = enabled_ && setSliceCount(count);
    return counted || enabled_ != wasEnabled;
}

std::string SlabModel::statusText(imaging::ViewDirection plane) const {
    if (!enabled_)
        return "MPR thick slab disabled";
    return "MPR thick slab enabled (" + std::to_string(count_) + " slices on " +
           std::string(imaging::viewDirectionName(plane)) + ")";
}

std::string SlabModel::railText() const {
    return enabled_ ? "Thick slab: " + std::to_string(count_) + " slices" : "Single slice";
}

std::string SlabModel::overlayText(double sliceSpacing) const {
    return "Thk: " + fixedText(thickness(sliceSpacing), 2) + " mm (" + std::to_string(shownSlices()) + ")";
}

} // namespace zorbel
