#pragma once

#include "api/ZorbelApiClient.h"
#include "cache/StudyRequest.h"
#include "imaging/Image.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace zorbel {

class SessionWorkspace;

/// Where a load stands; handed to the progress callback.
enum class LoadStage { Downloading, Streaming, Decoding };

/// received: bytes so far (Streaming). done of total: instances (Downloading, Streaming) or frames
/// (Decoding).
struct LoadProgress {
    LoadStage stage = LoadStage::Downloading;
    std::int64_t receivedBytes = 0;
    std::size_t done = 0;
    std::size_t total = 0;
};

/// Called on the worker thread, at every new stage and otherwise at most every 100 ms.
using LoadProgressCallback = std::function<void(const LoadProgress&)>;

/// The study, completed from the organisation's list where the request lacked its archive id, and its series
/// that hold images, in the order of their numbers.
struct SeriesListing {
    StudyRequest study;
    std::vector<OrthancSeriesSummary> series;
};

/// What the DICOM path came to. Loaded has an image; the others have a failureText for the user.
struct OrthancImageLoadResult {
    enum class Outcome { Loaded, Cancelled, Incomplete, Failed };

    Outcome outcome = Outcome::Failed;
    std::shared_ptr<const imaging::Image> image;
    StudyRequest study;
    OrthancSeriesSummary series;
    QString modality;
    QString sourceLabel;
    QString failureText;
    bool volumetric = false; ///< show it in three planes; else in the 2D view
};

/// Lists a study's loadable series. Throws ZorbelApiError. Worker thread.
SeriesListing listLoadableSeries(
    const std::shared_ptr<ZorbelApiClient>& client, StudyRequest study, const CancelFlag& cancel);

/// Downloads one series into the session's workspace, groups it, refuses it when slices are missing, and
/// decodes it; the downloaded files are gone when it returns. Never throws. Worker thread.
OrthancImageLoadResult LoadStudyFromOrthanc(
    const std::shared_ptr<ZorbelApiClient>& client, const StudyRequest& study,
    const OrthancSeriesSummary& series, SessionWorkspace& workspace, const CancelFlag& cancel,
    const LoadProgressCallback& progress);

} // namespace zorbel
