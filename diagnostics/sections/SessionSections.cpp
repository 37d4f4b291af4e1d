#include "diagnostics/sections/SessionSections.h"

#include "base/PathText.h"
#include "base/Uid.h"

#include <QDateTime>

namespace zorbel {

namespace {

std::string timeText(LastRequests::Time time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time.time_since_epoch()).count();
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate).toStdString();
}

DiagnosticsJson requestsJson(const LastRequests::Of& of) {
    if (!of.last)
        return {{"requests", 0}};
    const RequestOutcome& outcome = of.last->outcome;
    return {
        {"reachable", outcome.failure.isEmpty() || outcome.status > 0},
        {"lastRequest", timeText(of.last->time)},
        {"path", outcome.path.toStdString()},
        {"outcome", outcome.failure.isEmpty() ? "success" : outcome.failure.toStdString()},
        {"status", outcome.status},
        {"milliseconds", outcome.took.count()},
        {"lastSuccess", of.lastSuccess ? DiagnosticsJson(timeText(*of.lastSuccess)) : DiagnosticsJson()},
        {"requests", of.requests},
        {"failures", of.failures}};
}

const char* sourceName(SourceKind kind) {
    return kind == SourceKind::CloudOnly           ? "cloud only"
           : kind == SourceKind::LocalNodeRequired ? "Local Node required"
                                                   : "automatic";
}

struct Archives {
    std::size_t count = 0;
    std::uint64_t bytes = 0;
};

std::uint64_t bytesIn(const std::filesystem::path& folder) {
    std::uint64_t bytes = 0;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        if (entry->is_regular_file(ignored))
            bytes += entry->file_size(ignored);
    }
    return bytes;
}

Archives archivesIn(const ViewerStorage& storage) {
    Archives archives;
    std::error_code error;
    for (std::filesystem::directory_iterator study(storage.scopeDirectory(), error), end;
         !error && study != end; study.increment(error)) {
        const std::string uid = pathText(study->path().filename());
        if (!isUid(uid))
            continue;
        std::error_code ignored;
        for (std::filesystem::directory_iterator series(storage.archivesDirectory(uid), ignored), last;
             !ignored && series != last; series.increment(ignored)) {
            ++archives.count;
            archives.bytes += bytesIn(series->path());
        }
    }
    return archives;
}

} // namespace

DiagnosticsJson sessionSection(const ZorbelApiClient& client) {
    const UserProfile profile = client.profile();
    return {
        {"signedIn", client.isSignedIn()},
        {"role", profile.role.toStdString()},
        {"organization", profile.organizationName.toStdString()},
        {"organizationId", profile.organizationId.toStdString()}};
}

DiagnosticsJson serviceSection(const ZorbelApiClient& client, const LastRequests& requests) {
    return {
        {"address", client.config().baseUrl.toStdString()},
        {"source", sourceName(client.sourceKind())},
        {"chosenNode", client.selectedLocalNode().toStdString()},
        {"service", requestsJson(requests.of(false))},
        {"Local Node", requestsJson(requests.of(true))}};
}

DiagnosticsJson
storageSection(const std::optional<ViewerStorage>& storage, const StoragePolicy& policy, bool sessionOnly) {
    DiagnosticsJson section{
        {"usable", storage.has_value()},
        {"sessionOnly", sessionOnly},
        {"retentionDays", policy.retentionDays},
        {"quotaBytes", policy.quotaBytes}};
    if (!storage)
        return section;
    const StorageUsage usage = storage->usage();
    const Archives archives = archivesIn(*storage);
    std::error_code error;
    const auto space = std::filesystem::space(storage->cacheRoot(), error);
    section["folder"] = pathText(storage->cacheRoot());
    section["studies"] = usage.studies;
    section["bytes"] = usage.bytes;
    section["archives"] = archives.count;
    section["archiveBytes"] = archives.bytes;
    section["diskFreeBytes"] = error ? DiagnosticsJson() : DiagnosticsJson(space.available);
    return section;
}

DiagnosticsJson settingsSection(const SettingsStore& settings, const QString& organizationId) {
    using namespace settings_table;
    auto section = DiagnosticsJson::object();
    section[cacheDir.key] = settings.folder(cacheDir).toStdString();
    for (const NumberSetting& setting : {cacheRetentionDays, cacheMaxGiB, sourcePreference})
        section[setting.key] = settings.number(setting, organizationId);
    for (const TextSetting& setting : {localNode, lastEmail})
        section[setting.key] = settings.text(setting, organizationId).toStdString();
    return section;
}

} // namespace zorbel
