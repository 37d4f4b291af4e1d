#include "tests/platform/CrashReportingTest.h"

#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace {

[[gnu::noinline]] void readNowhere() {
    // Not address 0, which the undefined behaviour sanitizer would catch by itself.
    const volatile std::uintptr_t nowhere = 64;
    static_cast<void>(*reinterpret_cast<const volatile int*>(nowhere));
}

TEST_F(CrashReportingTest, MemoryFault) {
    expectDump(readNowhere, CrashKind::MemoryFault);
}

TEST_F(CrashReportingTest, MemoryFaultOnAWorkerThread) {
    expectDump([] { std::thread(readNowhere).join(); }, CrashKind::MemoryFault);
}

TEST_F(CrashReportingTest, Abort) {
    expectDump([] { std::abort(); }, CrashKind::Abort);
}

TEST_F(CrashReportingTest, ExceptionThatNobodyCatches) {
    expectDump([] { std::thread([] { throw std::runtime_error("unexpected"); }).join(); }, CrashKind::Abort);
}

TEST_F(CrashReportingTest, FolderThatCannotBeUsedIsReported) {
    std::ofstream(folder / "file") << "x";
    EXPECT_FALSE(zorbel::installCrashReporting(folder / "file" / "crashes", "ZorbelWorkstation", "1.0.0"));
}

} // namespace
