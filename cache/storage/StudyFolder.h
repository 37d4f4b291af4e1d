#pragma once

#include <cstdint>
#include <filesystem>
#include <system_error>
#include <vector>

namespace zorbel {

/// Whether a folder of this name may be a study's.
bool isStudyName(const std::filesystem::path& name);

/// One study's folder in a scope directory, as it was found.
struct StudyFolder {
    std::filesystem::path path;
    std::uint64_t bytes = 0; ///< of all files in it; links are not followed
    std::filesystem::file_time_type stamp;
};

/// The real folders in the scope directory that are named after a study; none when it is not there. Throws
/// std::runtime_error when it cannot be read, or is no folder but a link.
std::vector<StudyFolder> listStudyFolders(const std::filesystem::path& scopeDirectory);

/// Whether anybody holds the lock of one of the study's archives. Lock files of dead writers are removed.
bool isWriterAtWork(const std::filesystem::path& studyFolder);

enum class Removal { Removed, Gone, InUse };

/// Removes the study unless a writer is at work in it or it was opened since it was listed (InUse) or
/// somebody else has removed it (Gone). A process killed in between leaves a whole study or none under the
/// study's name. Throws std::filesystem::filesystem_error.
Removal removeStudyFolder(const StudyFolder& study);

/// Finishes the removals that a killed process began; returns the bytes of those it could not finish.
std::uint64_t removeLeftovers(const std::filesystem::path& scopeDirectory);

/// Removes a folder, link or file with all that is in it. Missing is success; somebody else may be removing
/// it at the same time.
std::error_code removeTree(const std::filesystem::path& path);

/// Moves every study out of its name, as removeStudyFolder() does, whether in use or not.
void hideStudyFolders(const std::filesystem::path& scopeDirectory);

} // namespace zorbel
