#pragma once

#include "cache/OrthancStudyLoader.h"
#include "cache/StudyLoadOptions.h"
#include "cache/volume/VolumeCacheReader.h"
#include "imaging/Image.h"

#include <memory>

namespace zorbel {

/// What a look into the volume cache came to.
struct CachedStudy {
    VolumeCacheResult result;
    std::shared_ptr<const imaging::Image> image; ///< null also when a loaded volume could not be adapted
    StudyIdentity study;                         ///< completed where only the UID was known
    bool archived = false;                       ///< an archive may hold the study
    LoadRecord record;
};

/// Loads the study's volume cache and makes it an image. The cache holds no name: a study of which only the
/// UID is known is looked up in the organization's list, where that answers. Never throws. Worker thread.
CachedStudy loadCachedStudy(
    const std::shared_ptr<ZorbelApiClient>& client, const StudyLoadOptions& options,
    const StudyIdentity& study, const CancelFlag& cancel);

/// The loaded volume as a result of the load.
OrthancImageLoadResult cachedImageResult(const CachedStudy& cached);

} // namespace zorbel
