#include "cache/CachedStudyLoader.h"

#include "api/LogReason.h"
#include "app/log/Logger.h"
#include "imaging/ImageAdapter.h"

#include <chrono>
#include <exception>
#include <future>
#include <string>
#include <variant>

namespace zorbel {

namespace {

constexpr char component[] = "StudyLoader";

LoadError missing(const std::string& path) {
    return {
        CacheSeverity::Degraded, static_cast<std::uint32_t>(CacheErrorCode::ManifestInvalid),
        "Cache manifest not present: " + path, -1};
}

/// The image is here already: a service that is slow to name the study does not keep it back for long.
StudyIdentity lookUpPatiently(
    const std::shared_ptr<ZorbelApiClient>& client, const StudyLoadOptions& options,
    const StudyIdentity& study, const CancelFlag& cancel) {
    const auto deadline = std::chrono::steady_clock::now() + options.archivePatience;
    const auto ended = std::make_shared<std::atomic<bool>>(false);
    auto lookup = std::async(std::launch::async, [&] { return lookUpStudy(*client, study, ended); });
    while (lookup.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready)
        if (isCancelled(cancel) || std::chrono::steady_clock::now() > deadline)
            ended->store(true);
    return lookup.get();
}

} // namespace

CachedStudy loadCachedStudy(
    const std::shared_ptr<ZorbelApiClient>& client, const StudyLoadOptions& options,
    const StudyIdentity& study, const CancelFlag& cancel) {
    CachedStudy cached{missing({}), nullptr, study, false, {}};
    if (!options.storage)
        return cached;
    const std::string& uid = study.studyInstanceUid;
    const auto start = std::chrono::steady_clock::now();
    try {
        const auto folder = options.storage->studyDirectory(uid);
        const StudyArchives archives(*options.storage);
        cached.archived = archives.mayHold(uid);
        cached.result = VolumeCacheReader(folder, options.manifestSchema, {}, uid).load(cancel.get());
        cached.record.add("volume cache", start);
        const auto* volume = std::get_if<ZorbelVolumeData>(&cached.result);
        if (!volume)
            return cached;
        cached.image = imaging::ImageAdapter::adapt(*volume);
        archives.touch(uid);
        if (study.orthancId.empty())
            cached.study = lookUpPatiently(client, options, study, cancel);
    } catch (const ZorbelApiError& error) {
        Logger::instance().warn(
            component, "The cached study could not be looked up", {{"reason", logReason(error)}});
    } catch (const std::bad_alloc&) {
        cached.result = LoadError{
            CacheSeverity::Degraded, static_cast<std::uint32_t>(CacheErrorCode::ChunkCorrupt),
            "not enough memory", -1};
    } catch (const std::exception& error) {
        // A UID that is none has no folder.
        cached.result = missing(error.what());
    }
    return cached;
}

OrthancImageLoadResult cachedImageResult(const CachedStudy& cached) {
    OrthancImageLoadResult result;
    result.outcome = OrthancImageLoadResult::Outcome::Loaded;
    result.source = ImageSource::VolumeCache;
    result.image = cached.image;
    result.study = cached.study;
    result.modality = QString::fromStdString(cached.study.modality);
    result.sourceLabel = QStringLiteral("local cache");
    result.volumetric = cached.image && cached.image->isVolumetric();
    result.record = cached.record;
    return result;
}

} // namespace zorbel
