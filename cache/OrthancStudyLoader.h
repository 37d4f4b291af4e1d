#pragma once

#include "api/ImageDataRoute.h"
#include "api/ZorbelApiClient.h"
#include "base/StudyIdentity.h"
#include "cache/LoadRecord.h"
#include "cache/StudyArchives.h"
#include "imaging/Image.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace zorbel {

class SessionWorkspace;

/// Where a load stands; handed to the progress callback.
enum class LoadStage { Archive, Downloading, Streaming, Decoding };

/// received: bytes so far (Streaming). done of total: instances (Downloading, Streaming) or frames
/// (Decoding).
struct LoadProgress {
    LoadStage stage = LoadStage::Downloading;
    std::int64_t receivedBytes = 0;
    std::size_t done = 0;
    std::size_t total = 0;
    QString sourceLabel{}; ///< where the images come from now
};

/// Called on the worker thread, at every new stage and otherwise at most every 100 ms.
using LoadProgressCallback = std::function<void(const LoadProgress&)>;

/// The study, completed from the organisation's list where the request lacked its archive id, and its series
/// that hold images, in the order of their numbers.
struct SeriesListing {
    StudyIdentity study;
    std::vector<OrthancSeriesSummary> series;
    ImageDataRoute route{}; ///< where it was listed, and the images are to come from
    /// The service could not be asked: these are the series whose archives this computer holds.
    bool local = false;
};

/// Where an image came from.
enum class ImageSource { VolumeCache, Archive, Service };

/// The source label of an archived copy.
inline QString archiveSourceLabel() {
    return QStringLiteral("local DICOM archive");
}

/// What a load came to. Loaded has an image; the others have a failureText for the user.
struct OrthancImageLoadResult {
    enum class Outcome { Loaded, Cancelled, Incomplete, SessionEnded, Failed };

    Outcome outcome = Outcome::Failed;
    ImageSource source = ImageSource::Service;
    std::shared_ptr<const imaging::Image> image;
    StudyIdentity study;
    OrthancSeriesSummary series;
    QString modality;
    QString sourceLabel;
    QString failureText;
    QString notice;          ///< what the reader should know about the image's way here; usually empty
    bool volumetric = false; ///< show it in three planes; else in the 2D view
    LoadRecord record;
    std::optional<DownloadedSeries> downloaded; ///< to be archived; only of a complete, decoded series
};

/// Finds a study of which only the UID is known in the organisation's list. Throws ZorbelApiError. Worker
/// thread.
StudyIdentity
lookUpStudy(const ZorbelApiClient& client, const StudyIdentity& study, const CancelFlag& cancel);

/// Lists a study's loadable series at the Local Node or the cloud, whichever is chosen and answers. Throws
/// ZorbelApiError. Worker thread.
SeriesListing listLoadableSeries(
    const std::shared_ptr<ZorbelApiClient>& client, StudyIdentity study, const CancelFlag& cancel);

/// The study's series as this computer's archives hold them; empty without any. Worker thread.
SeriesListing listArchivedSeries(const StudyArchives& archives, const StudyIdentity& study);

/// What of a study is to be loaded, and from where it may come.
struct SeriesLoadRequest {
    StudyIdentity study;
    OrthancSeriesSummary series;
    ImageDataRoute route{};                  ///< of the series' listing
    std::optional<StudyArchives> archives{}; ///< empty: neither look into the archive nor keep a copy
    bool reuseArchive = true;
    bool local = false; ///< of a local listing: the service need not be asked
};

/// Opens the series from its archive or downloads it into the session's workspace, groups it, refuses it when
/// slices are missing, and decodes it. Never throws. Worker thread.
OrthancImageLoadResult LoadStudyFromOrthanc(
    const std::shared_ptr<ZorbelApiClient>& client, const SeriesLoadRequest& request,
    SessionWorkspace& workspace, const CancelFlag& cancel, const LoadProgressCallback& progress);

} // namespace zorbel
