#include "tests/faults/DiskFaults.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

// The calls are passed on to the kernel directly: they may come before any other library is ready.

namespace {

using zorbel::tests::DiskFault;

struct Settings {
    std::atomic<bool> armed{false};
    std::atomic<unsigned long> count{0};
    unsigned long at = 0;
    int error = 0;
    bool lasting = false;
    bool trace = false;
    const std::function<void(const std::string&, const std::string&)>* watch = nullptr;
    char under[4096] = "";
    char report[4096] = "";
};
constinit Settings settings; // the environment arms it before anything is constructed

/// What the call does to the disk: a full one still takes what needs no room.
enum class Need { Room, Nothing };

void copyText(char (&to)[4096], const char* from) {
    std::snprintf(to, sizeof to, "%s", from ? from : "");
}

void pathOf(int descriptor, char (&to)[4096]) {
    char link[64] = "/proc/self/cwd";
    if (descriptor != AT_FDCWD)
        std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const long length = syscall(SYS_readlinkat, AT_FDCWD, link, to, sizeof to - 1);
    to[length < 0 ? 0 : length] = '\0';
}

void pathOf(int folder, const char* path, char (&to)[4096]) {
    if (path && path[0] == '/')
        return copyText(to, path);
    pathOf(folder, to);
    const std::size_t length = std::strlen(to);
    std::snprintf(to + length, sizeof to - length, "/%s", path ? path : "");
}

bool isCounted(const char* path) {
    const std::size_t length = std::strlen(settings.under);
    return std::strncmp(path, settings.under, length) == 0 &&
           (length == 0 || path[length] == '\0' || path[length] == '/');
}

void report(const char* call, const char* path) {
    if (!settings.report[0])
        return;
    const int file = static_cast<int>(
        syscall(SYS_openat, AT_FDCWD, settings.report, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    if (file < 0)
        return;
    char line[4200];
    const int length = std::snprintf(line, sizeof line, "%s %s\n", call, path);
    syscall(SYS_write, file, line, static_cast<std::size_t>(length));
    syscall(SYS_close, file);
}

enum class Verdict { Pass, FailNow, FailHalfDone };

/// Whether the call's turn has come. `doHalf` does a part of the call, for those that have parts.
Verdict judge(const char* call, const char* path, Need need, bool hasHalves) {
    if (!settings.armed || !isCounted(path))
        return Verdict::Pass;
    const bool full = settings.error == ENOSPC && settings.lasting;
    if (full && need == Need::Nothing)
        return Verdict::Pass;
    const unsigned long number = ++settings.count;
    if (settings.trace)
        report(call, path);
    if (settings.watch)
        (*settings.watch)(call, path);
    if (number < settings.at || (number > settings.at && !settings.lasting))
        return Verdict::Pass;
    if (number == settings.at && !settings.trace)
        report(call, path);
    if (number == settings.at && hasHalves && (full || settings.error == 0))
        return Verdict::FailHalfDone;
    if (settings.error == 0)
        syscall(SYS_kill, getpid(), SIGKILL);
    return Verdict::FailNow;
}

bool fails(const char* call, const char* path, Need need) {
    if (judge(call, path, need, false) == Verdict::Pass)
        return false;
    errno = settings.error;
    return true;
}

bool failsAt(const char* call, int folder, const char* path, Need need) {
    if (!settings.armed)
        return false;
    char full[4096];
    pathOf(folder, path, full);
    return fails(call, full, need);
}

bool failsOn(const char* call, int descriptor, Need need) {
    if (!settings.armed)
        return false;
    char full[4096];
    pathOf(descriptor, full);
    return fails(call, full, need);
}

/// A write of `count` bytes, through `doWrite(bytes)`.
template <class Write>
ssize_t written(const char* call, int descriptor, std::size_t count, Write doWrite) {
    if (!settings.armed)
        return doWrite(count);
    char path[4096];
    pathOf(descriptor, path);
    switch (judge(call, path, Need::Room, count > 1)) {
    case Verdict::Pass:
        return doWrite(count);
    case Verdict::FailHalfDone: {
        const ssize_t half = doWrite(count / 2);
        if (settings.error == 0)
            syscall(SYS_kill, getpid(), SIGKILL);
        return half;
    }
    default:
        errno = settings.error;
        return -1;
    }
}

bool writes(int flags) {
    return (flags & (O_WRONLY | O_RDWR | O_CREAT | O_TRUNC)) != 0;
}

int openAt(int folder, const char* path, int flags, mode_t mode) {
    const bool creates = (flags & (O_CREAT | O_TRUNC)) != 0;
    if (writes(flags) && failsAt("open", folder, path, creates ? Need::Room : Need::Nothing))
        return -1;
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

template <class Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

FILE* openStream(const char* name, const char* path, const char* mode) {
    if (std::strpbrk(mode, "wa+") && failsAt("fopen", AT_FDCWD, path, Need::Room))
        return nullptr;
    return next<FILE*(const char*, const char*)>(name)(path, mode);
}

int temporary(const char* name, char* path, int flags) {
    if (failsAt("mkstemp", AT_FDCWD, path, Need::Room))
        return -1;
    return next<int(char*, int)>(name)(path, flags);
}

__attribute__((constructor)) void armFromEnvironment() {
    const auto text = [](const char* name) {
        return std::string(std::getenv(name) ? std::getenv(name) : "");
    };
    const std::string kind = text("ZORBEL_DISK_FAULT_KIND");
    DiskFault fault;
    fault.at = std::strtoul(text("ZORBEL_DISK_FAULT_AT").c_str(), nullptr, 10);
    fault.error = kind == "ENOSPC" ? ENOSPC : kind == "EIO" ? EIO : kind == "EROFS" ? EROFS : 0;
    fault.lasting = text("ZORBEL_DISK_FAULT_LASTING") == "1";
    fault.under = text("ZORBEL_DISK_FAULT_UNDER");
    fault.report = text("ZORBEL_DISK_FAULT_REPORT");
    fault.trace = text("ZORBEL_DISK_FAULT_TRACE") == "1";
    zorbel::tests::armDiskFault(fault);
}

} // namespace

void zorbel::tests::armDiskFault(const DiskFault& fault) {
    settings.armed = false;
    settings.count = 0;
    settings.at = fault.at;
    settings.error = fault.error;
    settings.lasting = fault.lasting;
    settings.trace = fault.trace;
    static std::function<void(const std::string&, const std::string&)> watch;
    watch = fault.watch;
    settings.watch = watch ? &watch : nullptr;
    copyText(settings.under, fault.under.c_str());
    copyText(settings.report, fault.report.c_str());
    settings.armed = fault.at != 0 || fault.trace || fault.watch;
}

extern "C" {

#define ZORBEL_OPEN(name)                                                                                    \
    int name(const char* path, int flags, ...) {                                                             \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeOf(flags, arguments);                                                        \
        va_end(arguments);                                                                                   \
        return openAt(AT_FDCWD, path, flags, mode);                                                          \
    }
#define ZORBEL_OPENAT(name)                                                                                  \
    int name(int folder, const char* path, int flags, ...) {                                                 \
        va_list arguments;                                                                                   \
        va_start(arguments, flags);                                                                          \
        const mode_t mode = modeOf(flags, arguments);                                                        \
        va_end(arguments);                                                                                   \
        return openAt(folder, path, flags, mode);                                                            \
    }
ZORBEL_OPEN(open)
ZORBEL_OPEN(open64)
ZORBEL_OPENAT(openat)
ZORBEL_OPENAT(openat64)

int creat(const char* path, mode_t mode) {
    return openAt(AT_FDCWD, path, O_WRONLY | O_CREAT | O_TRUNC, mode);
}
FILE* fopen(const char* path, const char* mode) {
    return openStream("fopen", path, mode);
}
int mkstemp(char* path) {
    return temporary("mkostemp", path, 0);
}
int mkostemp(char* path, int flags) {
    return temporary("mkostemp", path, flags);
}

ssize_t write(int file, const void* bytes, size_t count) {
    return written("write", file, count, [&](size_t part) { return syscall(SYS_write, file, bytes, part); });
}
ssize_t writev(int file, const iovec* parts, int number) {
    // Half of it is the first part.
    return written("writev", file, static_cast<size_t>(number), [&](size_t some) {
        return syscall(SYS_writev, file, parts, some);
    });
}
ssize_t pwrite(int file, const void* bytes, size_t count, off_t offset) {
    return written(
        "pwrite", file, count, [&](size_t part) { return syscall(SYS_pwrite64, file, bytes, part, offset); });
}
ssize_t sendfile(int to, int from, off_t* offset, size_t count) {
    return written(
        "sendfile", to, count, [&](size_t part) { return syscall(SYS_sendfile, to, from, offset, part); });
}
ssize_t
copy_file_range(int from, off64_t* fromOffset, int to, off64_t* toOffset, size_t count, unsigned flags) {
    return written("copy_file_range", to, count, [&](size_t part) {
        return syscall(SYS_copy_file_range, from, fromOffset, to, toOffset, part, flags);
    });
}

int truncate(const char* path, off_t length) {
    return failsAt("truncate", AT_FDCWD, path, Need::Room)
               ? -1
               : static_cast<int>(syscall(SYS_truncate, path, length));
}
int ftruncate(int file, off_t length) noexcept {
    return failsOn("ftruncate", file, Need::Room) ? -1
                                                  : static_cast<int>(syscall(SYS_ftruncate, file, length));
}
int fallocate(int file, int mode, off_t offset, off_t length) {
    return failsOn("fallocate", file, Need::Room)
               ? -1
               : static_cast<int>(syscall(SYS_fallocate, file, mode, offset, length));
}
int posix_fallocate(int file, off_t offset, off_t length) {
    return fallocate(file, 0, offset, length) == 0 ? 0 : errno;
}
int fsync(int file) {
    return failsOn("fsync", file, Need::Nothing) ? -1 : static_cast<int>(syscall(SYS_fsync, file));
}
int fdatasync(int file) {
    return failsOn("fdatasync", file, Need::Nothing) ? -1 : static_cast<int>(syscall(SYS_fdatasync, file));
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    return failsAt("rename", toFolder, to, Need::Nothing)
               ? -1
               : static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}
int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return renameat2(fromFolder, from, toFolder, to, 0);
}
int rename(const char* from, const char* to) noexcept {
    return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    return failsAt("link", toFolder, to, Need::Room)
               ? -1
               : static_cast<int>(syscall(SYS_linkat, fromFolder, from, toFolder, to, flags));
}
int link(const char* from, const char* to) noexcept {
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
int symlinkat(const char* target, int folder, const char* path) noexcept {
    return failsAt("symlink", folder, path, Need::Room)
               ? -1
               : static_cast<int>(syscall(SYS_symlinkat, target, folder, path));
}
int symlink(const char* target, const char* path) noexcept {
    return symlinkat(target, AT_FDCWD, path);
}
int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    return failsAt("mkdir", folder, path, Need::Room)
               ? -1
               : static_cast<int>(syscall(SYS_mkdirat, folder, path, mode));
}
int mkdir(const char* path, mode_t mode) noexcept {
    return mkdirat(AT_FDCWD, path, mode);
}
int unlinkat(int folder, const char* path, int flags) noexcept {
    return failsAt("unlink", folder, path, Need::Nothing)
               ? -1
               : static_cast<int>(syscall(SYS_unlinkat, folder, path, flags));
}
int unlink(const char* path) noexcept {
    return unlinkat(AT_FDCWD, path, 0);
}
int rmdir(const char* path) noexcept {
    return unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}
int remove(const char* path) noexcept {
    struct stat info {};
    const bool isFolder = lstat(path, &info) == 0 && S_ISDIR(info.st_mode);
    return unlinkat(AT_FDCWD, path, isFolder ? AT_REMOVEDIR : 0);
}
int fchmod(int file, mode_t mode) noexcept {
    return failsOn("chmod", file, Need::Nothing) ? -1 : static_cast<int>(syscall(SYS_fchmod, file, mode));
}
int fchmodat(int folder, const char* path, mode_t mode, int) noexcept {
    return failsAt("chmod", folder, path, Need::Nothing)
               ? -1
               : static_cast<int>(syscall(SYS_fchmodat, folder, path, mode));
}
int chmod(const char* path, mode_t mode) noexcept {
    return fchmodat(AT_FDCWD, path, mode, 0);
}

// The same calls under the names that programs with large files use; off_t has 64 bits here.
#define ZORBEL_ALSO(result, name, arguments, other) result name arguments __attribute__((alias(other)));
ZORBEL_ALSO(FILE*, fopen64, (const char*, const char*), "fopen")
ZORBEL_ALSO(int, mkstemp64, (char*), "mkstemp")
ZORBEL_ALSO(int, mkostemp64, (char*, int), "mkostemp")
ZORBEL_ALSO(ssize_t, pwrite64, (int, const void*, size_t, off64_t), "pwrite")
ZORBEL_ALSO(ssize_t, sendfile64, (int, int, off64_t*, size_t), "sendfile")
ZORBEL_ALSO(int, truncate64, (const char*, off64_t), "truncate")
ZORBEL_ALSO(int, ftruncate64, (int, off64_t) noexcept, "ftruncate")
ZORBEL_ALSO(int, fallocate64, (int, int, off64_t, off64_t), "fallocate")
ZORBEL_ALSO(int, posix_fallocate64, (int, off64_t, off64_t), "posix_fallocate")

} // extern "C"
