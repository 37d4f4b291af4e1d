#pragma once

#include "imaging/geometry/ViewDirection.h"
#include "imaging/planes/Slab.h"

#include <string>

namespace zorbel {

/// The thick slab of the three planes: on or off, how its slices are combined, and how many there are: the
/// plane's own and equal halves on either side. One thread.
class SlabModel {
public:
    static constexpr int fewestSlices = 3;
    static constexpr int mostSlices = 51;
    static constexpr int countStep = 2;

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }
    imaging::SlabMode mode() const { return mode_; }
    void setMode(imaging::SlabMode mode) { mode_ = mode; }

    /// Odd, 3 to 51; kept while the slab is off.
    int sliceCount() const { return count_; }
    /// Clamped; an even count becomes the next higher one. Returns whether the count changed.
    bool setSliceCount(int count);
    bool thicken() { return setSliceCount(count_ + countStep); }
    bool thin() { return setSliceCount(count_ - countStep); }
    /// For a plane with this distance of its slices, millimetres.
    imaging::Slab slab(double sliceSpacing) const { return {mode_, shownSlices(), sliceSpacing}; }
    /// 1 while the slab is off.
    int shownSlices() const { return enabled_ ? count_ : 1; }

    /// As thick as the shown slices together, millimetres.
    double thickness(double sliceSpacing) const { return shownSlices() * sliceSpacing; }
    /// A slab handle was dragged to this distance from its line: the odd count whose thickness is nearest to
    /// twice that, both in millimetres. Nearest to a single slice it turns the slab off, otherwise on.
    /// Returns whether anything changed.
    bool dragTo(double halfThickness, double sliceSpacing);

    /// "MPR thick slab enabled (5 slices on Axial)" or "MPR thick slab disabled".
    std::string statusText(imaging::ViewDirection plane) const;
    /// "Thick slab: 5 slices" or "Single slice".
    std::string railText() const;
    /// "Thk: 2.50 mm (5)".
    std::string overlayText(double sliceSpacing) const;

private:
    bool enabled_ = false;
    imaging::SlabMode mode_ = imaging::SlabMode::Mip;
    int count_ = 5;
};

} // namespace zorbel
