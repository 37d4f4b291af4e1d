#pragma once

#include <string>
#include <string_view>

namespace zorbel::imaging {

/// Why frames of one series ended in different blocks. The numbers are fixed: other code and logs compare
/// them.
enum class SplitReasonType {
    Unknown = 0,
    ValueSplitDifference = 1,       ///< size, pixel format or another tag differs
    OrientationDifference = 2,      ///< mixed slice orientation
    ImagePositionMissing = 3,       ///< no position, or one that had to be assumed
    OverlappingFrames = 4,          ///< more than one frame at a position (duplicates, several acquisitions)
    GantryTilt = 5,                 ///< the slices' step is not along their normal
    SliceDistanceInconsistency = 6, ///< the distance changes by no multiple of the spacing
    MissingSlices = 7,              ///< the distance jumps by a multiple of the spacing
    MultipleSeries = 8,             ///< the files belong to several series
};

/// details: for MissingSlices the number of missing slices, decimal; otherwise a short text (degrees for
/// GantryTilt).
struct SplitReason {
    SplitReasonType type = SplitReasonType::Unknown;
    std::string details;
    friend bool operator==(const SplitReason&, const SplitReason&) = default;
};

/// "MissingSlices", "GantryTilt", …
std::string_view splitReasonName(SplitReasonType type);

} // namespace zorbel::imaging
