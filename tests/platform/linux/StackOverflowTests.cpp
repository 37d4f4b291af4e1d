#include "tests/platform/CrashReportingTest.h"

namespace {

/// Every call needs the block of the one before, so that no optimiser makes a loop of it.
[[gnu::noinline]] int overflowTheStack(volatile char* previous, int depth) {
    if (depth == 1'000'000'000) {
        return previous[0];
    }
    volatile char block[4096];
    block[0] = static_cast<char>(previous[0] + 1);
    return overflowTheStack(block, depth + 1) + block[0] + previous[0];
}

TEST_F(CrashReportingTest, StackOverflow) {
    expectDump(
        [] {
            volatile char first = 0;
            std::exit(overflowTheStack(&first, 0));
        },
        CrashKind::StackOverflow);
}

} // namespace
