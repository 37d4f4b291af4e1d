#include "platform/DiskFlush.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace zorbel {

namespace {

class Descriptor {
public:
    Descriptor(const std::filesystem::path& path, int flags)
        : value_(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | flags)) {}
    ~Descriptor() {
        if (value_ >= 0)
            close(value_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int value() const { return value_; }

private:
    int value_;
};

[[noreturn]] void fail(const std::filesystem::path& path) {
    throw std::system_error(errno, std::system_category(), "Cannot flush " + path.string());
}

} // namespace

void beginFlush(const std::filesystem::path& file) noexcept {
    const Descriptor descriptor(file, 0);
    if (descriptor.value() >= 0)
        sync_file_range(descriptor.value(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

void flushFile(const std::filesystem::path& file) {
    const Descriptor descriptor(file, 0);
    if (descriptor.value() < 0 || fdatasync(descriptor.value()) != 0)
        fail(file);
}

void flushFolder(const std::filesystem::path& folder) {
    const Descriptor descriptor(folder, O_DIRECTORY);
    // Some network file systems have nothing to flush of a folder, and say so with EINVAL.
    if (descriptor.value() < 0 || (fsync(descriptor.value()) != 0 && errno != EINVAL))
        fail(folder);
}

} // namespace zorbel
