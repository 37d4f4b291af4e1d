#include "cache/archive/StudyArchiveReader.h"

#include "base/WorkCancelled.h"
#include "base/WorkerPool.h"
#include "cache/archive/ArchiveManifest.h"
#include "cache/archive/ArchivePlace.h"
#include "cache/archive/InstanceDigest.h"
#include "platform/FileLock.h"
#include "platform/RegularFile.h"

#include <chrono>
#include <functional>
#include <new>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

using Result = StudyArchiveReader::Result;
using State = StudyArchiveReader::State;

constexpr std::uint64_t largestManifest = std::uint64_t{64} << 20;

Result damaged(std::string reason) {
    return {State::Damaged, {}, std::move(reason)};
}

/// Null when somebody else holds it, or the disk does not allow one.
std::optional<FileLock> tryLock(const ArchivePlace& place) {
    try {
        return FileLock::tryAcquire(place.lockFile());
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

std::string contentsOf(const fs::path& manifest) {
    RegularFile file(manifest);
    if (file.size() > largestManifest)
        throw std::runtime_error("The manifest is too large");
    std::string text(file.size(), '\0');
    text.resize(file.read(std::as_writable_bytes(std::span(text))));
    return text;
}

Result describeFolder(const fs::path& folder, const std::string& studyUid, const std::string& seriesUid) {
    std::error_code error;
    const auto type = fs::symlink_status(folder, error).type();
    if (type == fs::file_type::not_found)
        return {};
    if (type != fs::file_type::directory)
        return damaged("The archive is not a folder");
    Result result{State::Described, {}, {}};
    try {
        if (auto failure = parseArchiveManifest(contentsOf(folder / archiveManifestName), result.series);
            !failure.empty())
            return damaged(std::move(failure));
    } catch (const std::system_error&) {
        return damaged("The manifest is missing or cannot be read");
    } catch (const std::runtime_error& failure) {
        return damaged(failure.what());
    }
    if (result.series.studyInstanceUID != studyUid || result.series.seriesInstanceUID != seriesUid)
        return damaged("The archive is another series'");
    for (ArchivedInstance& instance : result.series.instances)
        instance.file = folder / (instance.id + ".dcm");
    return result;
}

/// Empty when every file is what the manifest says; throws WorkCancelled.
std::string faultInFiles(const ArchivedSeries& series, const std::atomic<bool>* cancel) {
    using Step = InstanceDigest::Step;
    try {
        const auto check = [&](std::size_t i, std::size_t) {
            const ArchivedInstance& instance = series.instances[i];
            const auto digest = digestOfInstance(instance.file, instance.byteLength, cancel);
            const auto fault = [&](const char* text) {
                throw std::runtime_error(
                    "File " + std::to_string(i + 1) + " of " + std::to_string(series.instances.size()) +
                    text);
            };
            if (digest.failedAt == Step::Length)
                fault(" has another size than recorded");
            if (digest.failedAt != Step::Done)
                fault(" is missing or cannot be read");
            if (digest.sha256 != instance.sha256)
                fault(" has other contents than recorded");
        };
        runOnAllCores(series.instances.size(), check, cancel, {});
    } catch (const WorkCancelled&) {
        throw;
    } catch (const std::runtime_error& failure) {
        return failure.what();
    }
    return {};
}

Result verifyFolder(
    const fs::path& folder, const std::string& studyUid, const std::string& seriesUid,
    const std::atomic<bool>* cancel) {
    Result result = describeFolder(folder, studyUid, seriesUid);
    if (result.state != State::Described)
        return result;
    try {
        if (auto fault = faultInFiles(result.series, cancel); !fault.empty())
            return damaged(std::move(fault));
    } catch (const WorkCancelled&) {
        return result;
    }
    result.state = State::Verified;
    return result;
}

/// The archive as `look` finds it when no writer is in its way: a bad look may have met one that was
/// replacing the archive, or one that was killed at it.
Result settled(const ArchivePlace& place, const std::function<Result()>& look) {
    try {
        for (int attempt = 1;; ++attempt) {
            Result result = look();
            if (result.state == State::Described || result.state == State::Verified)
                return result;
            if (result.state == State::Missing && !place.isHalfReplaced() && place.isVacant())
                return result;
            if (const auto lock = tryLock(place)) {
                if (place.isHalfReplaced())
                    place.recover();
                return look();
            }
            if (attempt == (result.state == State::Missing ? 10 : 3))
                return result;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        return damaged("The archive cannot be read");
    }
}

void clearUpBeside(const ArchivePlace& place) {
    try {
        if (!place.hasLeftovers())
            return;
        if (const auto lock = tryLock(place))
            place.recover();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception&) {
        // What cannot be looked at now is the next writer's.
    }
}

} // namespace

std::vector<fs::path> ArchivedSeries::files() const {
    std::vector<fs::path> paths;
    for (const ArchivedInstance& instance : instances)
        paths.push_back(instance.file);
    return paths;
}

Result StudyArchiveReader::describe(
    const fs::path& finalDirectory, const std::string& studyInstanceUid,
    const std::string& seriesInstanceUid) {
    return settled(ArchivePlace(finalDirectory), [&] {
        return describeFolder(finalDirectory, studyInstanceUid, seriesInstanceUid);
    });
}

Result StudyArchiveReader::verify(
    const fs::path& finalDirectory, const std::string& studyInstanceUid, const std::string& seriesInstanceUid,
    const std::atomic<bool>* cancel) {
    const ArchivePlace place(finalDirectory);
    Result result = settled(
        place, [&] { return verifyFolder(finalDirectory, studyInstanceUid, seriesInstanceUid, cancel); });
    // No writer comes to clear up beside an archive that is good as it is.
    if (result.state == State::Verified)
        clearUpBeside(place);
    return result;
}

bool StudyArchiveReader::setAside(const fs::path& finalDirectory) {
    const ArchivePlace place(finalDirectory);
    if (place.isVacant() && !place.isHalfReplaced())
        return true;
    const auto lock = tryLock(place);
    if (!lock)
        return false;
    // What is in quarantine while nothing has the final name was judged by nobody yet: it stays.
    if (place.isVacant())
        return true;
    place.recover();
    const fs::path aside = place.newDamaged();
    std::error_code error;
    fs::rename(finalDirectory, aside, error);
    if (error)
        return false;
    place.removeDamaged(aside);
    return true;
}

} // namespace zorbel
