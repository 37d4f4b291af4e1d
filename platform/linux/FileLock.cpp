#include "platform/FileLock.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorbel {

namespace {

[[noreturn]] void fail(int reason, const std::filesystem::path& file) {
    throw std::system_error(reason, std::system_category(), "Cannot lock " + file.string());
}

/// Whether the path still names the opened file, and not another one or none.
bool isStillNamed(int descriptor, const std::filesystem::path& file) {
    struct stat opened {};
    struct stat named {};
    return fstat(descriptor, &opened) == 0 && lstat(file.c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

std::optional<FileLock> FileLock::take(const std::filesystem::path& file, bool shared) {
    for (;;) {
        const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (descriptor < 0) {
            fail(errno, file);
        }
        FileLock lock(descriptor, file);
        // A lock of the open file description: unlike a process's, it also holds against this process itself.
        struct flock whole {};
        whole.l_type = shared ? F_RDLCK : F_WRLCK;
        whole.l_whence = SEEK_SET;
        if (fcntl(descriptor, F_OFD_SETLK, &whole) != 0) {
            if (errno == EAGAIN || errno == EACCES) {
                return std::nullopt;
            }
            fail(errno, file);
        }
        if (isStillNamed(descriptor, file)) {
            return lock;
        }
        // The holder before removed the file between the two steps; the lock of a nameless file is none.
    }
}

void FileLock::removeFile() noexcept {
    if (handle_ != none) {
        unlink(file_.c_str());
    }
    release();
}

void FileLock::release() noexcept {
    if (handle_ != none) {
        close(static_cast<int>(handle_));
        handle_ = none;
    }
}

} // namespace zorbel
