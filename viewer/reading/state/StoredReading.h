#pragma once

#include "viewer/reading/records/FindingList.h"
#include "viewer/reading/records/KeyImageList.h"
#include "viewer/reading/records/Measurement.h"
#include "viewer/reading/state/HangingProtocol.h"
#include "viewer/reading/state/ReadingPosition.h"

#include <string>
#include <vector>

namespace zorbel {

/// What an earlier reading left of a study. Value type.
struct StoredReading {
    std::vector<Measurement> measurements;
    FindingList findings;
    KeyImageList keyImages;
    /// With the positions of the planes.
    StudyHanging hanging;
};

} // namespace zorbel
