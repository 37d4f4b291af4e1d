#pragma once

#include "imaging/geometry/Vector3.h"
#include "viewer/reading/base/PlaneBases.h"

#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// Where the reader was in a volume. Value type.
struct ReadingPosition {
    std::string studyInstanceUid;
    std::string modality;
    imaging::Vector3 crosshair{0.0, 0.0, 0.0}; ///< LPS millimetres
    PlaneBases axes{};

    friend bool operator==(const ReadingPosition&, const ReadingPosition&) = default;
};

/// JSON.
std::string readingPositionText(const ReadingPosition& position);
/// Nothing where anything is missing or of another version, a number is not finite, or the planes are not
/// orthogonal to each other (areOrthogonal()).
std::optional<ReadingPosition> readingPositionFrom(std::string_view text);

} // namespace zorbel
