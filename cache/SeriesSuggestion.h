#pragma once

#include "api/StudyRecords.h"

#include <vector>

namespace zorbel {

/// The series that the choice dialog preselects: volumetric before two-dimensional, then the one with the
/// most instances, then the first. An index into `series`, which must not be empty. A convenience only: the
/// reader decides.
int suggestedSeries(const std::vector<OrthancSeriesSummary>& series);

/// False for series that hold no images to read: reports, presentation states, key object notes,
/// segmentations, …
bool isLoadableSeries(const OrthancSeriesSummary& series);

} // namespace zorbel
