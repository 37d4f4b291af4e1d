#pragma once

#include <filesystem>

namespace zorbel {

// Getting written bytes onto the disk itself, so that they outlast a power cut. A link is not followed, and a
// pipe does not block. Failures are std::system_error whose text names the path (UTF-8).

/// Asks the system to start writing the file's contents out, and returns at once: many files flushed after
/// this cost far less than each flushed by itself. May do nothing.
void beginFlush(const std::filesystem::path& file) noexcept;

/// Waits until the file's contents and size are on the disk.
void flushFile(const std::filesystem::path& file);

/// Waits until what was created, renamed and removed in the folder is on the disk. The contents of its files
/// are not part of it.
void flushFolder(const std::filesystem::path& folder);

} // namespace zorbel
