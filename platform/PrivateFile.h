#pragma once

#include <filesystem>
#include <string_view>

namespace zorbel {

// Files and folders that only the current user may open. Every failure is a std::system_error whose text
// names the path (UTF-8) and the system's reason.

/// Creates the folder with its missing parents, all private; an existing folder is made private, its parents
/// are left as they are.
void createPrivateFolder(const std::filesystem::path& folder);

/// Creates an empty private file; an existing file is an error.
void createPrivateFile(const std::filesystem::path& file);

/// Puts `bytes` in the place of the file's earlier contents, or creates it: after a failure or a power cut it
/// holds either all of the old or all of the new. The folder must exist.
void writePrivateFile(const std::filesystem::path& file, std::string_view bytes);

/// Whether writePrivateFile() gives such names to its temporary files: one that lies there while nobody
/// writes was left by a process that was killed.
bool isUnfinishedWrite(const std::filesystem::path& fileName);

/// Whether this is a real folder, no link to one, and on Linux also the current user's own and closed to all
/// others: one in which nobody else can have planted anything. Never throws.
bool isOwnFolder(const std::filesystem::path& folder) noexcept;

} // namespace zorbel
