#include "cache/volume/VolumeCacheReader.h"

#include "app/log/Logger.h"
#include "base/PathText.h"
#include "base/WorkCancelled.h"
#include "cache/volume/IntegrityChecker.h"
#include "cache/volume/ManifestParser.h"
#include "cache/volume/VoxelAssembler.h"

#include <new>
#include <string_view>
#include <utility>

namespace zorbel {

namespace {

constexpr std::string_view component = "VolumeCacheReader";
constexpr std::string_view manifestNotPresent = "Cache manifest not present: ";

/// Ends the load; caught where it began.
struct LoadFailed {
    LoadError error;
};

LoadError failure(CacheErrorCode code, std::string message, std::int32_t chunkIndex = -1) {
    const auto number = static_cast<std::uint32_t>(code);
    return {severityOf(number), number, std::move(message), chunkIndex};
}

LogMeta chunkMeta(std::int32_t chunkIndex) {
    LogMeta meta;
    if (chunkIndex != -1)
        meta["chunkIndex"] = std::to_string(chunkIndex);
    return meta;
}

VolumeCacheManifest
parse(const std::filesystem::path& cacheDirectory, const std::filesystem::path& schemaPath) {
    Logger& log = Logger::instance();
    const std::filesystem::path manifestPath = cacheDirectory / "manifest.json";
    std::error_code error;
    if (std::filesystem::symlink_status(manifestPath, error).type() ==
        std::filesystem::file_type::not_found) {
        log.info(component, "Cache manifest missing", {{"manifestPath", pathText(manifestPath)}});
        throw LoadFailed{failure(
            CacheErrorCode::ManifestInvalid, std::string(manifestNotPresent) + pathText(manifestPath))};
    }
    VolumeCacheManifest manifest;
    try {
        manifest = ManifestParser::parse(manifestPath, schemaPath);
    } catch (const ZorbelError& parseError) {
        log.warn(component, "Manifest parse failed", {{"detail", parseError.what()}});
        throw LoadFailed{failure(parseError.code, parseError.what(), parseError.chunkIndex)};
    } catch (const std::exception& parseError) {
        log.warn(component, "Manifest parse unexpected error", {{"detail", parseError.what()}});
        throw LoadFailed{failure(CacheErrorCode::ManifestInvalid, parseError.what())};
    }
    if (!isSupportedVersion(manifest.version))
        throw LoadFailed{
            failure(CacheErrorCode::UnsupportedVersion, "Unsupported manifest version: " + manifest.version)};
    return manifest;
}

ValidatedLayout check(
    const VolumeCacheManifest& manifest, const std::string& studyInstanceUid,
    const VolumeCacheOptions& options, const std::filesystem::path& cacheDirectory,
    const std::atomic<bool>* cancel) {
    auto result = IntegrityChecker::check(manifest, studyInstanceUid, options, cacheDirectory, cancel);
    if (auto* const failed = std::get_if<IntegrityFailure>(&result)) {
        LogMeta meta = chunkMeta(failed->chunkIndex);
        meta["detail"] = failed->message;
        Logger::instance().warn(component, "Integrity check failed", meta);
        throw LoadFailed{failure(failed->code, std::move(failed->message), failed->chunkIndex)};
    }
    return std::get<ValidatedLayout>(std::move(result));
}

ZorbelVolumeData assemble(
    const ValidatedLayout& layout, const VolumeCacheManifest& manifest,
    const std::filesystem::path& cacheDirectory, const std::atomic<bool>* cancel) {
    try {
        return VoxelAssembler::assemble(layout, manifest, cacheDirectory, cancel);
    } catch (const WorkCancelled&) {
        throw;
    } catch (const ZorbelError& error) {
        Logger::instance().warn(
            component, "Volume assembly failed", {{"chunkIndex", std::to_string(error.chunkIndex)}});
        throw LoadFailed{failure(error.code, error.what(), error.chunkIndex)};
    } catch (const std::exception& error) {
        Logger::instance().warn(component, "Volume assembly unexpected error", {{"detail", error.what()}});
        throw LoadFailed{failure(CacheErrorCode::ChunkCorrupt, error.what())};
    }
}

std::string fallbackMessage(const LoadError& error) {
    switch (error.code) {
    case 6:
        return "Cache version unsupported — falling back to DICOM. Update the desktop workstation to open "
               "cached studies.";
    case 7:
        return "Cache integrity check failed — falling back to DICOM.";
    case 8:
        return "Cache chunk missing — falling back to DICOM.";
    case 9:
        return "Cache chunk size mismatch — falling back to DICOM.";
    case 10:
        return "Cache chunk corrupt (decompression failed) — falling back to DICOM.";
    case 12:
        return error.message.starts_with("Cache manifest not present:")
                   ? "Study is not available in the local cache — falling back to DICOM."
                   : "Cache manifest invalid — falling back to DICOM.";
    default:
        return "Cache load failed (" + error.message + ") — falling back to DICOM.";
    }
}

CacheLoadOutcome mapFailure(const LoadError& error) {
    LogMeta meta{
        {"errorCode", std::to_string(error.code)},
        {"message", error.message},
        {"severity", std::string(severityName(error.severity))}};
    if (error.severity == CacheSeverity::Critical) {
        Logger::instance().error(component, "Critical load failure — aborting", meta);
        return {CacheLoadOutcome::Kind::Abort, "Cannot load study: " + error.message, false};
    }
    CacheLoadOutcome outcome{CacheLoadOutcome::Kind::FallBackToDicom, fallbackMessage(error), false};
    outcome.missing = error.code == static_cast<std::uint32_t>(CacheErrorCode::ManifestInvalid) &&
                      error.message.starts_with(manifestNotPresent);
    meta["reason"] = outcome.userMessage;
    Logger::instance().warn(component, "Cache load degraded — falling back to DICOM", meta);
    return outcome;
}

} // namespace

VolumeCacheReader::VolumeCacheReader(
    std::filesystem::path cacheDirectory, std::filesystem::path schemaPath, VolumeCacheOptions options,
    std::string studyInstanceUid)
    : cacheDirectory_(std::move(cacheDirectory)), schemaPath_(std::move(schemaPath)), options_(options),
      studyInstanceUid_(std::move(studyInstanceUid)) {}

VolumeCacheResult VolumeCacheReader::load(const std::atomic<bool>* cancel) const {
    Logger& log = Logger::instance();
    try {
        log.info(component, "Load started", {{"cacheDir", pathText(cacheDirectory_)}});
        throwIfCancelled(cancel);
        const VolumeCacheManifest manifest = parse(cacheDirectory_, schemaPath_);
        const ValidatedLayout layout = check(manifest, studyInstanceUid_, options_, cacheDirectory_, cancel);
        ZorbelVolumeData volume = assemble(layout, manifest, cacheDirectory_, cancel);
        log.info(
            component, "Load succeeded",
            {{"studyInstanceUID", volume.studyInstanceUID},
             {"dtype", volume.dtype},
             {"bufferBytes", std::to_string(volume.byteLength)}});
        return volume;
    } catch (LoadFailed& failed) {
        return std::move(failed.error);
    } catch (const WorkCancelled&) {
        log.info(component, "Load cancelled");
        return failure(CacheErrorCode::ChunkCorrupt, "Load cancelled");
    } catch (const std::bad_alloc&) {
        return failure(CacheErrorCode::ChunkCorrupt, "Out of memory"); // short enough to need none
    } catch (const std::exception& error) {
        return failure(CacheErrorCode::ChunkCorrupt, error.what());
    }
}

CacheLoadOutcome mapCacheResult(const VolumeCacheResult& result) {
    if (const auto* const error = std::get_if<LoadError>(&result))
        return mapFailure(*error);
    const auto& volume = std::get<ZorbelVolumeData>(result);
    const auto& [x, y, z] = volume.dimensions;
    Logger::instance().info(
        component, "Cache load succeeded",
        {{"study", volume.studyInstanceUID},
         {"dims", std::to_string(x) + "x" + std::to_string(y) + "x" + std::to_string(z)},
         {"dtype", volume.dtype},
         {"bufBytes", std::to_string(volume.byteLength)}});
    return {CacheLoadOutcome::Kind::Loaded, "Cache loaded successfully", false};
}

} // namespace zorbel
