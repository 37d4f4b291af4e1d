#include "platform/threads/StackGuard.h"
#include "tests/platform/CrashReportingTest.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <thread>

namespace {

[[gnu::noinline]] void readNowhere() {
    // Not address 0, which the undefined behaviour sanitizer would catch by itself.
    const volatile std::uintptr_t nowhere = 64;
    static_cast<void>(*reinterpret_cast<const volatile int*>(nowhere));
}

/// Every call needs the block of the one before, so that no optimiser makes a loop of it.
[[gnu::noinline]] int overflowTheStack(volatile char* previous, int depth) {
    if (depth == 1'000'000'000)
        return previous[0];
    volatile char block[4096];
    block[0] = static_cast<char>(previous[0] + 1);
    return overflowTheStack(block, depth + 1) + block[0] + previous[0];
}

void overflow() {
    volatile char first = 0;
    std::exit(overflowTheStack(&first, 0));
}

void onAThread(const std::function<void()>& crash) {
    std::thread(crash).join();
}

struct OfThisTest : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void throwIt() {
    throw OfThisTest("the report of Jane Doe");
}

void askForAllMemory() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    throw std::bad_alloc(); // their allocators end the program by themselves
#else
    volatile std::size_t all = std::numeric_limits<std::size_t>::max() / 4;
    char* const volatile memory = new char[all];
    delete[] memory;
#endif
}

TEST_F(CrashReportingTest, MemoryFault) {
    expectDump(readNowhere, CrashKind::MemoryFault);
}

TEST_F(CrashReportingTest, MemoryFaultOnAWorkerThread) {
    expectDump([] { onAThread(readNowhere); }, CrashKind::MemoryFault);
}

TEST_F(CrashReportingTest, StackOverflow) {
    expectDump(overflow, CrashKind::StackOverflow);
}

TEST_F(CrashReportingTest, StackOverflowOnAWorkerThread) {
    const auto crash = [] {
        zorbel::guardThreadStack();
        overflow();
    };
    expectDump([crash] { onAThread(crash); }, CrashKind::StackOverflow);
}

TEST_F(CrashReportingTest, Abort) {
    expectDump([] { std::abort(); }, CrashKind::Abort);
}

TEST_F(CrashReportingTest, ExceptionThatNobodyCatchesIsToldByItsTypeAlone) {
    const auto dump = expectDump([] { onAThread(throwIt); }, CrashKind::Exception);
    EXPECT_NE(dump.find("exception N12_GLOBAL__N_110OfThisTestE"), std::string::npos) << dump;
    EXPECT_EQ(dump.find("Jane"), std::string::npos);
}

TEST_F(CrashReportingTest, ExceptionThatMayNotLeaveAFunction) {
    expectDump([]() noexcept { throwIt(); }, CrashKind::Exception);
}

TEST_F(CrashReportingTest, OutOfMemory) {
    expectDump([] { onAThread(askForAllMemory); }, CrashKind::OutOfMemory);
}

TEST_F(CrashReportingTest, FolderThatCannotBeUsedIsReported) {
    std::ofstream(folder / "file") << "x";
    EXPECT_FALSE(zorbel::installCrashReporting(folder / "file" / "crashes", "ZorbelWorkstation", "1.0.0"));
}

} // namespace
