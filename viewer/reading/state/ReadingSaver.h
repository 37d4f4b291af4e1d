#pragma once

#include "viewer/reading/state/CrashRecovery.h"
#include "viewer/reading/state/KeyImageStore.h"
#include "viewer/reading/state/ReadingStateStore.h"
#include "viewer/reading/state/RecentStudiesFile.h"
#include "viewer/reading/state/SaveScheduler.h"
#include "viewer/reading/state/SessionFile.h"
#include "viewer/reading/state/StoredReading.h"

#include <array>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <variant>
#include <vector>

namespace zorbel {

/// Writes what is recorded, on a thread of its own, so that nobody's hand waits for the disk. What is given
/// to it stays here until it is on the disk: each part is written after SaveScheduler's rules, at most one
/// second after it was given, and a write that failed is tried again. What is given later replaces what was
/// not yet written of the same study and kind.
///
/// All operations return at once, and may be called by any thread; what they are given is called on the
/// saver's.
class ReadingSaver {
public:
    /// What was done to the key images; list: as they are after it.
    struct EditedKeyImages {
        KeyImageList list;
        KeyImageEdits edits;
    };
    /// A part of a study's reading. Measurements are complete, and edits of key images are all of the
    /// session; positions lie in the hanging of their series.
    using Part = std::variant<StudyHanging, FindingList, std::vector<Measurement>, EditedKeyImages>;

    struct Unsaved {
        std::string studyInstanceUid;
        std::vector<StateKind> kinds;
        friend bool operator==(const Unsaved&, const Unsaved&) = default;
    };
    struct Report {
        /// What attempts failed in that had not failed before, for the status bar.
        std::vector<std::string> failures;
        /// What could not be written so far. It is tried again.
        std::vector<Unsaved> failing;
    };
    /// The files of the reading state; to be used on the saver's thread alone.
    struct Stores {
        Stores(std::filesystem::path folder, bool previousRunCrashed);
        StateFiles files;
        ReadingStateStore state{files};
        KeyImageStore keyImages{files};
        RecentStudiesFile recent{files};
        SessionFile session{files};
        CrashRecovery recovery;
    };

    /// folder: the user's own; empty keeps everything in memory, for this session alone. previousRunCrashed:
    /// what the session lock told. report: after attempts that failed, and when what had failed is written.
    ReadingSaver(
        std::filesystem::path folder, bool previousRunCrashed, std::function<void(const Report&)> report);
    /// Works off what was asked for, tries all that is not written once more, and ends.
    ~ReadingSaver();
    ReadingSaver(const ReadingSaver&) = delete;
    ReadingSaver& operator=(const ReadingSaver&) = delete;

    void save(const std::string& studyInstanceUid, const std::string& modality, Part part);
    /// One after the other, in the order of the calls. Must not throw.
    void run(std::function<void(Stores&)> job);
    /// Writes what is waiting and takes up a copy of everything in another folder, which is used from then
    /// on. open: the study that is. moved: with what prevented it, in which case nothing has changed; empty
    /// for nothing.
    void moveTo(
        std::filesystem::path folder, std::optional<StudyIdentity> open,
        std::function<void(std::string failure)> moved);
    /// Writes what is waiting, then reads what lies there of a study.
    void load(const std::string& studyInstanceUid, std::function<void(StoredReading)> loaded);
    /// Tries all that is not written, whether or not it is due.
    void flush(std::function<void(const Report&)> done);

    /// All that was given and is not on the disk yet, failed or not.
    std::vector<Unsaved> unsaved() const;

private:
    /// The part as it was given last, until it is on the disk.
    struct Slot {
        std::shared_ptr<const Part> part;
        bool failing = false;
    };
    struct Study {
        std::string modality;
        std::array<Slot, stateKindCount> slots;
        SaveScheduler scheduler;
    };
    struct Attempt {
        std::string uid;
        std::string modality;
        StateKind kind;
        std::shared_ptr<const Part> part;
    };
    using Lock = std::unique_lock<std::mutex>;

    void work(const std::filesystem::path& folder, bool previousRunCrashed);
    std::vector<Attempt> takeWaiting(bool all);
    /// Releases the lock while it writes.
    Report write(Lock& lock, const std::vector<Attempt>& attempts);
    std::string write(const Attempt& attempt);
    void writeAll(Lock& lock);
    std::optional<SaveScheduler::Duration> timeUntilDue() const;
    std::vector<Unsaved> listed(bool failingOnly) const;
    static std::vector<StateKind> kindsOf(const Part& part);

    const std::function<void(const Report&)> report_;
    std::unique_ptr<Stores> stores_; ///< made by the thread: that, too, waits for the disk
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void(Lock&)>> jobs_;
    std::map<std::string, Study> studies_;
    bool ending_ = false;
    std::jthread thread_; ///< last: it uses all of the above
};

} // namespace zorbel
