#pragma once

#include "app/log/ILogSink.h"

#include <cstdio>
#include <filesystem>
#include <mutex>

namespace zorbel {

/// Appends lines to a file that only its owner may read. Buffered: lines reach the disk with flush() and with
/// the destructor. Where the file cannot be opened or written, lines are dropped in silence. Any thread.
class FileSink : public ILogSink {
public:
    /// The folder must exist.
    explicit FileSink(const std::filesystem::path& path);
    ~FileSink() override;
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;

    bool isOpen() const { return stream_ != nullptr; }
    const std::filesystem::path& path() const { return path_; }

    void write(const char* line, std::size_t length) override;
    void flush() override;

private:
    std::filesystem::path path_;
    std::FILE* stream_ = nullptr;
    std::mutex mutex_;
};

} // namespace zorbel
