#include "tests/platform/CrashReportingTest.h"

#include <atomic>
#include <cstdint>
#include <sstream>
#include <thread>

#include <csignal>
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

namespace {

std::atomic<int> waiting = 0;

[[gnu::noinline]] void waitForTheEnd() {
    ++waiting;
    for (;;)
        pause();
}

[[gnu::noinline]] void jumpNowhere() {
    void (*volatile nowhere)() = nullptr;
    nowhere();
    asm volatile(""); // no tail call
}

/// Where the stack is found by a register that has been overwritten.
[[gnu::noinline]] void faultOnALostStack(std::size_t size) {
    auto* const room = static_cast<volatile char*>(__builtin_alloca(size));
    room[0] = 1;
    asm volatile("movq $64, %rbp\n\tmovl (%rbp), %eax");
}

/// Starts a thread of that name, and returns when it waits for the end.
void startWaiting(const char* name) {
    const int before = waiting;
    std::thread([name] {
        pthread_setname_np(pthread_self(), name);
        waitForTheEnd();
    }).detach();
    while (waiting == before)
        std::this_thread::yield();
}

/// How often the lines of code after the title lead into the function.
int callsOf(void (*function)(), const std::string& dump, const std::string& title) {
    Dl_info module{};
    dladdr(reinterpret_cast<void*>(function), &module);
    const auto begin =
        reinterpret_cast<std::uintptr_t>(function) - reinterpret_cast<std::uintptr_t>(module.dli_fbase);
    constexpr std::uintptr_t longestFunction = 512;
    const auto at = dump.find("\n" + title + "\n");
    if (at == dump.npos)
        return -1;
    std::istringstream lines(dump.substr(at + title.size() + 2));
    int calls = 0;
    for (std::string line; std::getline(lines, line) && (line == "?" || line.find("+0x") != line.npos);) {
        const auto offset = line == "?" ? 0 : std::stoull(line.substr(line.find("+0x") + 3), nullptr, 16);
        calls += line.starts_with("platform_test+") && offset >= begin && offset < begin + longestFunction;
    }
    return calls;
}

TEST_F(CrashReportingTest, EveryThreadTellsWhereItIs) {
    const auto crash = [] {
        startWaiting("waiting");
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before); // which a thread inherits
        startWaiting("deaf");
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        jumpNowhere();
    };
    const auto dump = expectDump(crash, CrashKind::MemoryFault);
    EXPECT_GE(callsOf(jumpNowhere, dump, "call chain"), 1) << "the place it jumped from\n" << dump;
    const auto titleOf = [&dump](const std::string& name) {
        const auto at = dump.find(" " + name + "\n");
        const auto begin = dump.rfind('\n', at) + 1;
        return at == dump.npos ? name : dump.substr(begin, dump.find('\n', at) - begin);
    };
    EXPECT_GE(callsOf(waitForTheEnd, dump, titleOf("waiting")), 1) << dump;
    EXPECT_NE(dump.find(" deaf does not answer\n"), std::string::npos) << dump;
}

TEST_F(CrashReportingTest, AStackThatCannotBeReadEndsItsChainAndNotTheReport) {
    const auto crash = [] {
        startWaiting("waiting");
        faultOnALostStack(100);
    };
    const auto dump = expectDump(crash, CrashKind::MemoryFault);
    EXPECT_NE(dump.find("\n(the stack cannot be read any further)\n"), std::string::npos) << dump;
    EXPECT_NE(dump.find(" waiting\n"), std::string::npos) << dump;
}

TEST_F(CrashReportingTest, ASignalFromOutsideIsToldAsThat) {
    const auto crash = [] {
        if (fork() == 0) {
            kill(getppid(), SIGSEGV);
            _exit(0);
        }
        waitForTheEnd();
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            zorbel::installCrashReporting(dumps, baseName, "1");
            crash();
        },
        "");
    const auto dump = contents(zorbel::CrashDumps(dumps, baseName).list().front().file);
    EXPECT_NE(dump.find("\nreason a signal that somebody sent\nsignal 11 SIGSEGV, code 0\n"), dump.npos);
}

} // namespace
