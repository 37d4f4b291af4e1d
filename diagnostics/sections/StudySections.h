#pragma once

#include "cache/OrthancStudyLoader.h"
#include "diagnostics/DiagnosticsReport.h"
#include "imaging/Image.h"
#include "viewer/reading/display/DisplayProperties.h"

#include <optional>
#include <vector>

namespace zorbel {

/// The load of the open study. image: that is shown; null for none. displayedMs: from the request to the
/// picture. Any thread.
DiagnosticsJson studySection(
    const std::optional<OrthancImageLoadResult>& load, const imaging::Image* image,
    std::optional<qint64> displayedMs);
/// Each view's state, under the names of its properties.
DiagnosticsJson displaySection(const std::vector<DisplayProperties>& views);

} // namespace zorbel
