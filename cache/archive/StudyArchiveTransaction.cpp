#include "cache/archive/StudyArchiveTransaction.h"

#include "base/PathText.h"
#include "base/WorkCancelled.h"
#include "base/WorkerPool.h"
#include "cache/archive/ArchiveManifest.h"
#include "cache/archive/ArchivePlace.h"
#include "cache/archive/InstanceDigest.h"
#include "platform/DiskFlush.h"
#include "platform/FileLock.h"
#include "platform/PrivateFile.h"
#include "platform/SystemInfo.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <unordered_set>
#include <utility>

namespace zorbel {

namespace fs = std::filesystem;

namespace {

constexpr auto privateFile = fs::perms::owner_read | fs::perms::owner_write;

[[noreturn]] void fail(const std::string& what) {
    throw std::runtime_error(what);
}

[[noreturn]] void fail(const std::string& what, const fs::path& path) {
    fail(what + pathText(path));
}

FileLock
lockOf(const ArchivePlace& place, std::chrono::milliseconds timeout, const std::atomic<bool>* cancel) {
    if (timeout.count() < 0)
        throw std::invalid_argument("Study archive lock timeout cannot be negative");
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        try {
            if (auto lock = FileLock::tryAcquire(place.lockFile()))
                return std::move(*lock);
        } catch (const std::system_error& error) {
            fail(
                "Cannot acquire study archive lock (" + std::string(systemErrorName()) + " " +
                std::to_string(error.code().value()) + ")");
        }
        if (std::chrono::steady_clock::now() >= deadline)
            fail("Timed out waiting for another study archive writer");
        throwIfCancelled(cancel);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

/// The folders whose lists of entries change when `folder` is created with its missing parents.
std::vector<fs::path> foldersGainingEntries(const fs::path& folder) {
    std::vector<fs::path> gaining;
    std::error_code error;
    for (fs::path path = folder; path.has_relative_path() && !fs::exists(path, error);
         path = path.parent_path())
        gaining.push_back(path.has_parent_path() ? path.parent_path() : fs::path("."));
    return gaining;
}

/// What the commit wants said of a file that could not be hashed.
std::string textOf(InstanceDigest::Step failedAt) {
    using Step = InstanceDigest::Step;
    switch (failedAt) {
    case Step::Open:
        return "Cannot open study archive instance for hashing: ";
    case Step::Hash:
        return "Cannot hash study archive instance: ";
    case Step::Finish:
        return "Cannot finalize study archive SHA-256: ";
    default:
        return "Cannot read study archive instance: ";
    }
}

} // namespace

struct StudyArchiveTransaction::State {
    State(ArchivePlace where, std::string studyUid, std::string seriesUid, FileLock held)
        : place(std::move(where)), studyInstanceUid(std::move(studyUid)),
          seriesInstanceUid(std::move(seriesUid)), lock(std::move(held)), staging(place.newStaging()) {}
    ~State() {
        std::error_code ignored; // what stays behind is removed by the next writer
        if (!committed)
            fs::remove_all(staging, ignored);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    fs::path fileOf(const std::string& id) const { return staging / (id + ".dcm"); }
    void validate() const;
    std::vector<ArchivedInstance> measuredInstances(const std::atomic<bool>* cancel) const;
    void hash(std::vector<ArchivedInstance>& instances, const std::atomic<bool>* cancel) const;
    void writeManifest(const std::vector<ArchivedInstance>& instances) const;
    void flush(const std::vector<ArchivedInstance>& instances, const std::atomic<bool>* cancel) const;
    void promote(const std::atomic<bool>* cancel);

    ArchivePlace place;
    std::string studyInstanceUid;
    std::string seriesInstanceUid;
    FileLock lock;
    fs::path staging;
    std::vector<std::string> ids;
    std::vector<fs::path> changedFolders; ///< above the parent, to be flushed with it
    bool committed = false;
};

StudyArchiveTransaction StudyArchiveTransaction::begin(
    const fs::path& finalDirectory, std::string studyInstanceUID, std::string seriesInstanceUID,
    std::chrono::milliseconds lockTimeout, const std::atomic<bool>* cancel) {
    if (!finalDirectory.has_filename() || !finalDirectory.has_parent_path() ||
        finalDirectory.filename() == "." || finalDirectory.filename() == "..")
        throw std::invalid_argument("Study archive final directory is invalid");
    ArchivePlace place(finalDirectory);
    auto changedFolders = foldersGainingEntries(place.parent());
    try {
        createPrivateFolder(place.parent());
    } catch (const std::system_error&) {
        fail("Cannot create study archive parent directory: ", place.parent());
    }
    FileLock lock = lockOf(place, lockTimeout, cancel);
    place.recover();
    auto state = std::make_unique<State>(
        std::move(place), std::move(studyInstanceUID), std::move(seriesInstanceUID), std::move(lock));
    state->changedFolders = std::move(changedFolders);
    try {
        createPrivateFolder(state->staging);
    } catch (const std::system_error&) {
        fail("Cannot create study archive staging directory: ", state->staging);
    }
    return StudyArchiveTransaction(std::move(state));
}

StudyArchiveTransaction::StudyArchiveTransaction(std::unique_ptr<State> state) : state_(std::move(state)) {}
StudyArchiveTransaction::StudyArchiveTransaction(StudyArchiveTransaction&&) noexcept = default;
StudyArchiveTransaction& StudyArchiveTransaction::operator=(StudyArchiveTransaction&&) noexcept = default;
StudyArchiveTransaction::~StudyArchiveTransaction() = default;

fs::path StudyArchiveTransaction::pathFor(const std::string& instanceId) const {
    if (!isSafeInstanceIdentifier(instanceId))
        throw std::invalid_argument("Unsafe Orthanc instance identifier: " + instanceId);
    return state_->fileOf(instanceId);
}

void StudyArchiveTransaction::addInstance(const std::string& instanceId) {
    state_->ids.push_back(instanceId);
}

void StudyArchiveTransaction::adopt(const std::string& instanceId, const fs::path& file) {
    const fs::path place = pathFor(instanceId);
    std::error_code error;
    if (fs::symlink_status(file, error).type() != fs::file_type::regular)
        fail("Study archive instance is missing or empty: ", file);
    if (fs::symlink_status(place, error).type() != fs::file_type::not_found)
        fail("Duplicate Orthanc instance identifier: " + instanceId);
    fs::rename(file, place, error);
    if (error) {
        // On another file system, or in a folder that cannot be changed.
        error.clear();
        if (!fs::copy_file(file, place, error) || error) {
            std::error_code ignored;
            fs::remove(place, ignored);
            fail("Cannot copy study archive instance: ", place);
        }
    }
    addInstance(instanceId);
}

void StudyArchiveTransaction::commit(const std::atomic<bool>* cancel) {
    if (state_->committed)
        fail("Study archive transaction is already committed");
    state_->validate();
    auto instances = state_->measuredInstances(cancel);
    state_->hash(instances, cancel);
    state_->writeManifest(instances);
    state_->flush(instances, cancel);
    throwIfCancelled(cancel);
    state_->promote(cancel);
}

void StudyArchiveTransaction::State::validate() const {
    if (studyInstanceUid.empty())
        fail("Study archive requires a Study Instance UID");
    if (seriesInstanceUid.empty())
        fail("Study archive requires a Series Instance UID");
    if (ids.empty())
        fail("Study archive requires at least one instance");
    std::unordered_set<std::string> known;
    for (const std::string& id : ids) {
        if (!isSafeInstanceIdentifier(id))
            fail("Unsafe Orthanc instance identifier: " + id);
        if (!known.insert(id).second)
            fail("Duplicate Orthanc instance identifier: " + id);
    }
}

std::vector<ArchivedInstance>
StudyArchiveTransaction::State::measuredInstances(const std::atomic<bool>* cancel) const {
    std::vector<ArchivedInstance> instances;
    for (const std::string& id : ids) {
        throwIfCancelled(cancel);
        ArchivedInstance instance{.id = id, .file = fileOf(id), .byteLength = 0, .sha256 = {}};
        std::error_code error;
        const auto status = fs::symlink_status(instance.file, error);
        const bool isFile = status.type() == fs::file_type::regular;
        if (isFile)
            instance.byteLength = fs::file_size(instance.file, error);
        if (!isFile || error || instance.byteLength == 0)
            fail("Study archive instance is missing or empty: ", instance.file);
        if (status.permissions() != privateFile)
            fs::permissions(instance.file, privateFile, error);
        if (error)
            fail("Cannot store study archive instance: ", instance.file);
        instances.push_back(std::move(instance));
    }
    return instances;
}

/// The disk starts to write the files meanwhile.
void StudyArchiveTransaction::State::hash(
    std::vector<ArchivedInstance>& instances, const std::atomic<bool>* cancel) const {
    const auto hashOne = [&](std::size_t i, std::size_t) {
        ArchivedInstance& instance = instances[i];
        beginFlush(instance.file);
        auto digest = digestOfInstance(instance.file, instance.byteLength, cancel);
        if (digest.failedAt == InstanceDigest::Step::Initialise)
            fail("Cannot initialize SHA-256 for study archive");
        if (digest.failedAt != InstanceDigest::Step::Done)
            fail(textOf(digest.failedAt), instance.file);
        instance.sha256 = std::move(digest.sha256);
    };
    runOnAllCores(instances.size(), hashOne, cancel, {});
}

void StudyArchiveTransaction::State::writeManifest(const std::vector<ArchivedInstance>& instances) const {
    const fs::path manifest = staging / archiveManifestName;
    fs::path unfinished = manifest;
    unfinished += ".tmp";
    std::error_code error;
    fs::remove(unfinished, error); // of a commit that failed before
    std::string text;
    try {
        text = archiveManifestText({studyInstanceUid, seriesInstanceUid, instances});
        createPrivateFile(unfinished);
    } catch (const std::exception&) {
        fail("Cannot create study archive manifest: ", unfinished);
    }
    {
        std::ofstream file(unfinished, std::ios::binary);
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        file.close();
        if (!file)
            fail("Cannot write study archive manifest: ", unfinished);
    }
    fs::rename(unfinished, manifest, error);
    if (error)
        fail("Cannot finalize study archive manifest: ", manifest);
}

/// All at once and before the promotion alone: each file flushed as it is written would cost a journal
/// commit.
void StudyArchiveTransaction::State::flush(
    const std::vector<ArchivedInstance>& instances, const std::atomic<bool>* cancel) const {
    const auto flushOne = [&](std::size_t i, std::size_t) {
        try {
            flushFile(instances[i].file);
        } catch (const std::system_error&) {
            fail("Cannot store study archive instance: ", instances[i].file);
        }
    };
    runOnAllCores(instances.size(), flushOne, cancel, {});
    const fs::path manifest = staging / archiveManifestName;
    try {
        flushFile(manifest);
        flushFolder(staging);
    } catch (const std::system_error&) {
        fail("Cannot finalize study archive manifest: ", manifest);
    }
}

void StudyArchiveTransaction::State::promote(const std::atomic<bool>* cancel) {
    const fs::path quarantine = place.newQuarantine();
    std::error_code error;
    const bool replaces = !place.isVacant();
    if (replaces) {
        fs::rename(place.finalDirectory(), quarantine, error);
        if (error)
            fail("Cannot quarantine previous study archive: " + error.message());
    }
    fs::rename(staging, place.finalDirectory(), error);
    if (error) {
        std::error_code ignored; // if it cannot go back now, the next writer or reader puts it back
        if (replaces)
            fs::rename(quarantine, place.finalDirectory(), ignored);
        fail("Cannot promote completed study archive: " + error.message());
    }
    committed = true;
    if (cancel && *cancel)
        return;
    try {
        flushFolder(place.parent());
        for (const fs::path& folder : changedFolders)
            flushFolder(folder);
    } catch (const std::system_error& failure) {
        // The earlier copy stays beside the new one, which a power cut may undo.
        fail("Cannot promote completed study archive: " + failure.code().message());
    }
    place.recover();
    place.removeDamaged();
}

bool isSafeInstanceIdentifier(const std::string& id) {
    return !id.empty() && std::all_of(id.begin(), id.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
               c == '_';
    });
}

} // namespace zorbel
