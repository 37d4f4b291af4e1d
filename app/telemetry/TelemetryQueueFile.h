#pragma once

#include "platform/FileLock.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// Where events that could not be sent wait for the next session: a private file for each running program,
/// named after its claim (platform/ProgramClaims.h), so that several programs of one user neither lose nor
/// send one another's. A program that starts takes over the files of those that run no more, one program at a
/// time. What fails is logged, and the events stay in memory alone. Any thread.
class TelemetryQueueFile {
public:
    /// folder: is created when needed; empty keeps nothing.
    explicit TelemetryQueueFile(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// What ended programs left, each event as JSON, the oldest program's first, but no more than `most`, the
    /// newest. It is this program's from now on, and in its file.
    std::vector<std::string> takeOver(std::size_t most);
    /// Puts the events in the place of the earlier ones; without any, removes the file.
    void write(const std::vector<std::string>& events);
    /// Removes what ended programs left, and this one's.
    void removeAll();
    /// No more is written. What lies there is for the next start.
    void close();

private:
    std::vector<std::filesystem::path> leftBehind() const;
    void claim();
    std::filesystem::path ownFile() const;
    void writeLocked(const std::vector<std::string>& events);

    const std::filesystem::path folder_;
    std::mutex mutex_; ///< guards what follows, and the file
    std::optional<FileLock> claim_;
    std::string digits_; ///< of the claim
    bool closed_ = false;
};

} // namespace zorbel
