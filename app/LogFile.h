#pragma once

#include "app/log/FileSink.h"
#include "app/log/ILogSink.h"
#include "platform/FileLock.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace zorbel {

/// The log's file, which several programs of one user write at a time. One that has grown too large is first
/// cut to its last lines, in one step: after a failure it is as it was. Not while another program has it open
/// (beside it lies a lock, which all share): what that one writes would be lost.
class LogFile : public ILogSink {
public:
    struct Limits {
        std::uintmax_t longest = 50'000'000; ///< in bytes; a longer file is cut
        std::size_t kept = 20'000'000;       ///< of it, in whole lines
    };

    /// The folder must exist. Never throws.
    explicit LogFile(const std::filesystem::path& file) : LogFile(file, Limits()) {}
    LogFile(const std::filesystem::path& file, const Limits& limits);

    /// What became of a file that is too large, for the log itself; empty where it is not.
    const std::string& outcome() const { return outcome_; }

    void write(const char* line, std::size_t length) override { sink_.write(line, length); }
    void flush() override { sink_.flush(); }

private:
    std::string outcome_;
    std::optional<FileLock> use_; ///< shared, as long as the file is open
    FileSink sink_;
};

} // namespace zorbel
