#pragma once

#include <cerrno>
#include <functional>
#include <string>

// A disk that fails, for tests of whatever writes files (Linux). A program that links the shared library
// zorbel_disk_faults has the file-system calls that change something counted, and at one of them it is killed
// or told of an error. Counted: open, openat, creat and fopen for writing, mkstemp, write, writev, pwrite,
// sendfile, copy_file_range, truncate, ftruncate, fallocate, fsync, fdatasync, rename, link, symlink, mkdir,
// unlink, rmdir, remove, chmod, with their variants; not what the C library does inside of itself, as for
// fwrite.
//
// A program of its own can be told by its environment:
//   ZORBEL_DISK_FAULT_AT       at which call, from 1; without it nothing happens
//   ZORBEL_DISK_FAULT_KIND     "kill" (SIGKILL, the default), "ENOSPC", "EIO" or "EROFS"
//   ZORBEL_DISK_FAULT_LASTING  "1": every later call fails as well; not for "kill"
//   ZORBEL_DISK_FAULT_UNDER    counts only calls that touch this absolute path or what is below it
//   ZORBEL_DISK_FAULT_REPORT   a file, best elsewhere, which the failing call's name and path are appended to
//   ZORBEL_DISK_FAULT_TRACE    "1": the report gets every counted call; needs no AT
// The variables can also be given to a program that was not linked so, with the library in LD_PRELOAD.
//
// A disk that is full (a lasting ENOSPC) takes half of the write it fails at, and goes on to rename, flush
// and remove. A kill leaves half of its write behind.

namespace zorbel::tests {

struct DiskFault {
    unsigned long at = 0;
    int error = 0; ///< an errno, or 0 to be killed
    bool lasting = false;
    std::string under{};
    std::string report{};
    bool trace = false; ///< report every counted call, one a line
    /// Called before every counted call is done, on its thread; may hold it up. Needs no `at`.
    std::function<void(const std::string& call, const std::string& path)> watch{};
};

/// For tests that try each of them at every call in turn.
struct DiskFaultKind {
    const char* name;
    int error;
    bool lasting;
};
constexpr DiskFaultKind diskFaultKinds[] = {
    {"killed", 0, false},      {"full disk", ENOSPC, true}, {"full for once", ENOSPC, false},
    {"bad block", EIO, false}, {"broken disk", EIO, true},  {"read-only", EROFS, true},
};

/// From now on in this process, with the count at 0. Not while other threads write.
void armDiskFault(const DiskFault& fault);

struct FaultyRun {
    bool reached = false;  ///< the call whose turn it was came
    bool killed = false;   ///< by the fault
    std::string call;      ///< the failing call's name and path, or all calls of a trace
    std::string exception; ///< what() of what the action threw; empty: nothing
};

/// Does the action in a forked process with the fault armed, and tells how it ended. Not while other threads
/// run. Throws std::runtime_error when the process ended in any other way.
FaultyRun runWithDiskFault(DiskFault fault, const std::function<void()>& action);

} // namespace zorbel::tests
