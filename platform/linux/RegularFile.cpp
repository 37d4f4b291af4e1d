#include "platform/RegularFile.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorbel {

namespace {

[[noreturn]] void fail(int reason, const std::filesystem::path& file) {
    throw std::system_error(reason, std::system_category(), "Cannot read " + file.string());
}

} // namespace

RegularFile::RegularFile(const std::filesystem::path& file) : file_(file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        fail(errno, file);
    struct stat info {};
    const int reason = fstat(descriptor, &info) != 0 ? errno : S_ISREG(info.st_mode) ? 0 : EINVAL;
    if (reason != 0) {
        close(descriptor);
        fail(reason, file);
    }
    posix_fadvise(descriptor, 0, 0, POSIX_FADV_SEQUENTIAL);
    handle_ = descriptor;
    size_ = static_cast<std::uint64_t>(info.st_size);
}

RegularFile::~RegularFile() {
    if (handle_ != none)
        close(static_cast<int>(handle_));
}

std::size_t RegularFile::read(std::span<std::byte> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::read(static_cast<int>(handle_), bytes.data() + done, bytes.size() - done);
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            fail(errno, file_);
    }
    return done;
}

} // namespace zorbel
