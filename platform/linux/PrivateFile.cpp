#include "platform/PrivateFile.h"

#include "platform/linux/AtomicFile.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zorbel {

namespace {

[[noreturn]] void fail(const char* what, const std::filesystem::path& path) {
    throw std::system_error(errno, std::system_category(), what + path.string());
}

} // namespace

void createPrivateFolder(const std::filesystem::path& folder) {
    constexpr const char* what = "Cannot create the private folder ";
    std::filesystem::path step;
    for (const std::filesystem::path& part : folder) {
        step /= part;
        if (mkdir(step.c_str(), 0700) != 0 && errno != EEXIST) {
            // A parent that is there but on a read-only disk or out of reach is not an error by itself.
            const int reason = errno;
            struct stat info {};
            if (stat(step.c_str(), &info) != 0) {
                errno = reason;
                fail(what, folder);
            }
        }
    }
    // Opened first, so that the folder that is checked is the one that is changed.
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        fail(what, folder);
    }
    const int changed = fchmod(descriptor, 0700);
    const int reason = errno;
    close(descriptor);
    if (changed != 0) {
        errno = reason;
        fail(what, folder);
    }
}

void createPrivateFile(const std::filesystem::path& file) {
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0) {
        fail("Cannot create the private file ", file);
    }
    close(descriptor);
}

void writePrivateFile(const std::filesystem::path& file, std::string_view bytes) {
    writeFileAtomically(file, bytes, 0600);
}

bool isUnfinishedWrite(const std::filesystem::path& fileName) {
    return isTemporaryName(fileName.native());
}

bool isOwnFolder(const std::filesystem::path& folder) noexcept {
    struct stat info {};
    return lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           (info.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

} // namespace zorbel
