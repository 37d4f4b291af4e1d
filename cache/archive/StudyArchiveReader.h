#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// One instance as an archive's manifest describes it.
struct ArchivedInstance {
    std::string id;
    std::filesystem::path file;
    std::uint64_t byteLength = 0;
    std::string sha256;
};

struct ArchivedSeries {
    std::string studyInstanceUID;
    std::string seriesInstanceUID;
    std::vector<ArchivedInstance> instances; ///< in the manifest's order

    std::vector<std::filesystem::path> files() const;
};

/// Opens archives that StudyArchiveTransaction wrote, and trusts nothing in them. Any thread.
class StudyArchiveReader {
public:
    enum class State { Missing, Damaged, Described, Verified };

    struct Result {
        State state = State::Missing;
        ArchivedSeries series; ///< Described and Verified only
        std::string reason;    ///< Damaged only: what is wrong, without anything of the patient
    };

    /// Reads the manifest alone: which instances the archive claims to hold. An archive that a killed writer
    /// had half replaced is put back first. A writer at work does not disturb: the result is the archive
    /// before it or after it. Never throws but std::bad_alloc.
    static Result describe(
        const std::filesystem::path& finalDirectory, const std::string& studyInstanceUid,
        const std::string& seriesInstanceUid);

    /// Also checks the size and the digest of every file, on all cores. A set cancel flag gives Described.
    /// What a killed writer left beside a good archive is removed.
    static Result verify(
        const std::filesystem::path& finalDirectory, const std::string& studyInstanceUid,
        const std::string& seriesInstanceUid, const std::atomic<bool>* cancel = nullptr);

    /// Renames a damaged archive out of the way, so that a new copy can take its place; the damaged one goes
    /// when that has happened. False when it cannot be moved (a read-only disk, a writer at work).
    static bool setAside(const std::filesystem::path& finalDirectory);
};

} // namespace zorbel
