#include "imaging/SplitReason.h"

namespace zorbel::imaging {

std::string_view splitReasonName(SplitReasonType type) {
    switch (type) {
    case SplitReasonType::Unknown:
        break;
    case SplitReasonType::ValueSplitDifference:
        return "ValueSplitDifference";
    case SplitReasonType::OrientationDifference:
        return "OrientationDifference";
    case SplitReasonType::ImagePositionMissing:
        return "ImagePositionMissing";
    case SplitReasonType::OverlappingFrames:
        return "OverlappingFrames";
    case SplitReasonType::GantryTilt:
        return "GantryTilt";
    case SplitReasonType::SliceDistanceInconsistency:
        return "SliceDistanceInconsistency";
    case SplitReasonType::MissingSlices:
        return "MissingSlices";
    case SplitReasonType::MultipleSeries:
        return "MultipleSeries";
    }
    return "Unknown";
}

} // namespace zorbel::imaging
