#include "app/log/FileSink.h"

#include <exception>
#include <system_error>

namespace zorbel {

FileSink::FileSink(const std::filesystem::path& path) : path_(path) {
    try {
        // The narrow form of a path can fail to exist on Windows, which then counts as a file that did not
        // open.
        stream_ = std::fopen(path_.string().c_str(), "a");
    } catch (const std::exception&) {
        stream_ = nullptr;
    }
    std::error_code ignored;
    if (stream_ != nullptr && std::filesystem::is_regular_file(path_, ignored)) {
        using std::filesystem::perms;
        std::filesystem::permissions(path_, perms::owner_read | perms::owner_write, ignored);
    }
}

FileSink::~FileSink() {
    if (stream_ != nullptr) {
        std::fflush(stream_);
        std::fclose(stream_);
    }
}

void FileSink::write(const char* line, std::size_t length) {
    const std::lock_guard lock(mutex_);
    if (stream_ != nullptr) {
        std::fwrite(line, 1, length, stream_);
    }
}

void FileSink::flush() {
    const std::lock_guard lock(mutex_);
    if (stream_ != nullptr) {
        std::fflush(stream_);
    }
}

} // namespace zorbel
