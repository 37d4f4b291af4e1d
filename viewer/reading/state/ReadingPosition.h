#pragma once

#include "viewer/reading/state/PlanesPosition.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// Where the reader was in the volumes of a study. Value type.
struct ReadingPosition {
    std::string studyInstanceUid;
    std::string modality;
    std::map<std::string, PlanesPosition> series; ///< by the series' key
    std::string last;                             ///< the series that was shown last

    /// Nothing where the series was never shown in planes.
    std::optional<PlanesPosition> of(const std::string& key) const;

    friend bool operator==(const ReadingPosition&, const ReadingPosition&) = default;
};

/// JSON: the position in the series shown last, and under "series" each.
std::string readingPositionText(const ReadingPosition& position);
/// Nothing where the position in the series shown last is missing or of another version, a number is not
/// finite, or the planes are not orthogonal to each other (areOrthogonal()); other series of which that holds
/// are left out. A file that names no series speaks for all of them: it is under the empty key.
std::optional<ReadingPosition> readingPositionFrom(std::string_view text);

} // namespace zorbel
