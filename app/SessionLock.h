#pragma once

#include <filesystem>

namespace zorbel {

/// The file that exists exactly while a session runs: one found at start means that the previous session
/// crashed or was killed.
class SessionLock {
public:
    /// folder: where "session.lock" lies; it is created when needed.
    explicit SessionLock(const std::filesystem::path& folder);

    bool exists() const;
    /// Creates the file. Throws std::system_error when that is not possible.
    void create() const;
    /// Removes the file; may be called more than once.
    void remove() const;

private:
    std::filesystem::path folder_;
    std::filesystem::path file_;
};

} // namespace zorbel
