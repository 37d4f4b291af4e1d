#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zorbel {

/// Writes one series' archive: files are gathered in a staging folder beside the final one, described by a
/// manifest, and the finished folder takes the place of the earlier copy in one step. Whatever happens, the
/// final folder is the earlier copy or the complete new one. What a killed writer left beside it is cleared,
/// and its earlier copy put back, when the next transaction begins or the next reader comes.
///
/// One thread at a time; writers of the same archive wait for one another, also in other processes. Every
/// failure is an exception derived from std::exception whose what() says what failed, and where.
class StudyArchiveTransaction {
public:
    /// Takes the lock and creates the staging folder, both private to the user. A lock held elsewhere is
    /// tried again every 10 ms until the timeout, or until `cancel` is set: WorkCancelled. Throws
    /// std::invalid_argument for an unusable folder or a negative timeout, std::runtime_error otherwise.
    static StudyArchiveTransaction begin(
        const std::filesystem::path& finalDirectory, std::string studyInstanceUid,
        std::string seriesInstanceUid, std::chrono::milliseconds lockTimeout,
        const std::atomic<bool>* cancel = nullptr);

    StudyArchiveTransaction(StudyArchiveTransaction&& other) noexcept;
    StudyArchiveTransaction& operator=(StudyArchiveTransaction&& other) noexcept;
    /// Removes the staging folder unless committed, and ends the lock.
    ~StudyArchiveTransaction();

    /// Where the instance's file has to be written: staging folder / (id + ".dcm"). The id is judged by
    /// commit(); one with a separator must not reach the disk, so an unsafe id throws std::invalid_argument
    /// "Unsafe Orthanc instance identifier: " + id here as well.
    std::filesystem::path pathFor(const std::string& instanceId) const;
    /// Names an instance that belongs to the archive, in the order of the manifest.
    void addInstance(const std::string& instanceId);
    /// Puts a file that lies elsewhere in its place, by renaming it where the file system allows and by
    /// copying it otherwise, and adds it. The source is gone or left as it was; what was renamed shares the
    /// staging folder's fate when there is no commit. A link, a folder, a missing file and an id that was
    /// adopted before are refused.
    void adopt(const std::string& instanceId, const std::filesystem::path& file);

    /// Validates, hashes, writes the manifest and promotes. At most once. Everything is on the disk when it
    /// returns, also after a power cut. What a failure leaves under the final name is whole all the same.
    /// Looks at `cancel` between files and between the blocks it hashes: up to the promotion
    /// WorkCancelled is thrown and nothing has changed. From then on a set flag spares the wait for
    /// the disk: a power cut may bring back the earlier copy, which stays beside the new one until the next
    /// transaction or reader.
    void commit(const std::atomic<bool>* cancel = nullptr);

private:
    struct State;
    explicit StudyArchiveTransaction(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

/// Non-empty, neither "." nor "..", and of ASCII letters, digits, "-" and "_" alone.
bool isSafeInstanceIdentifier(const std::string& id);

} // namespace zorbel
