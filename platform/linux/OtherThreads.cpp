#include "platform/linux/OtherThreads.h"

#include "platform/linux/FixedText.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <tuple>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zorbel {

namespace {

constexpr long patienceMs = 5000; ///< for all together
constexpr long startingMs = 200;  ///< further, for those that hold signals back, as a thread that starts does

int questionSignal() noexcept {
    return SIGRTMIN + 9;
}

long nowMs() noexcept {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1'000'000;
}

/// Libraries' own threads often block all signals: those need not be waited for as long.
bool holdsBack(pid_t thread, int signalNumber) noexcept {
    FixedText<64> path;
    path << "/proc/self/task/" << thread << "/status";
    const int file = open(path.text(), O_RDONLY | O_CLOEXEC);
    if (file < 0)
        return true;
    char bytes[4096];
    const ssize_t count = read(file, bytes, sizeof bytes);
    close(file);
    const std::string_view status(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    constexpr std::string_view title = "SigBlk:\t";
    const auto at = status.find(title);
    if (at == status.npos)
        return false;
    std::uint64_t mask = 0;
    for (const char digit : status.substr(at + title.size(), 16))
        mask = mask * 16 + static_cast<std::uint64_t>(digit <= '9' ? digit - '0' : digit - 'a' + 10);
    return (mask >> static_cast<unsigned>(signalNumber - 1) & 1U) != 0;
}

/// As the system lays out the entries of a folder.
struct FolderEntry {
    std::uint64_t inode;
    std::int64_t offset;
    std::uint16_t length;
    std::uint8_t type;
    char name[1];
};

} // namespace

bool OtherThreads::install() noexcept {
    struct sigaction action {};
    action.sa_sigaction = onQuestion;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    return sigaction(questionSignal(), &action, nullptr) == 0;
}

void OtherThreads::onQuestion(int, siginfo_t* info, void* context) {
    const int before = errno;
    // From nobody but this process: the value that comes along is its own address.
    if (info->si_code == SI_QUEUE && info->si_pid == getpid()) {
        auto& thread = *static_cast<Thread*>(info->si_value.sival_ptr);
        thread.chain.follow(*static_cast<ucontext_t*>(context), false);
        thread.answered.store(true, std::memory_order_release);
    }
    errno = before;
}

bool OtherThreads::send(Thread& thread) noexcept {
    siginfo_t info{};
    info.si_code = SI_QUEUE;
    info.si_pid = getpid();
    info.si_uid = getuid();
    info.si_value.sival_ptr = &thread;
    return syscall(SYS_rt_tgsigqueueinfo, getpid(), thread.id, questionSignal(), &info) == 0;
}

void OtherThreads::add(pid_t id) noexcept {
    if (id == 0 || id == gettid())
        return;
    if (size_ == threads_.size())
        more_ = true;
    else
        threads_[size_++].id = id;
}

void OtherThreads::collect() noexcept {
    const int folder = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return;
    alignas(FolderEntry) char entries[2048];
    for (;;) {
        const long count = syscall(SYS_getdents64, folder, entries, sizeof entries);
        if (count <= 0)
            break;
        for (long at = 0; at < count;) {
            const auto* const entry = reinterpret_cast<const FolderEntry*>(entries + at);
            pid_t id = 0;
            for (const char* digit = entry->name; *digit >= '0' && *digit <= '9'; ++digit)
                id = id * 10 + (*digit - '0');
            add(id);
            at += entry->length;
        }
    }
    close(folder);
}

void OtherThreads::awaitAnswer(const Thread& thread, long deadline) noexcept {
    const timespec moment{0, 1'000'000};
    while (!thread.answered.load(std::memory_order_acquire) && nowMs() < deadline)
        nanosleep(&moment, nullptr);
}

void OtherThreads::ask() noexcept {
    collect();
    std::array<bool, std::tuple_size_v<decltype(threads_)>> waits{};
    for (std::size_t i = 0; i < size_; ++i)
        waits[i] = send(threads_[i]) && !holdsBack(threads_[i].id, questionSignal());
    const long deadline = nowMs() + patienceMs;
    for (std::size_t i = 0; i < size_; ++i)
        if (waits[i])
            awaitAnswer(threads_[i], deadline);
    const long soon = nowMs() + startingMs;
    for (std::size_t i = 0; i < size_; ++i)
        awaitAnswer(threads_[i], std::min(soon, deadline));
}

} // namespace zorbel
