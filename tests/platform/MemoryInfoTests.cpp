#include "platform/MemoryInfo.h"

#include <gtest/gtest.h>

#include <vector>

namespace zorbel {

TEST(MemoryInfo, TellsWhatThisProcessAndItsMachineHave) {
    const MemoryInfo before = memoryInfo();
    EXPECT_GT(before.resident, 100'000U);
    EXPECT_GE(before.peakResident, before.resident / 2); // counted at another moment
    EXPECT_GT(before.machineTotal, before.resident);
    EXPECT_LE(before.machineAvailable, before.machineTotal);
    constexpr std::size_t more = std::size_t{64} << 20;
    const std::vector<char> touched(more, 'x');
    EXPECT_GT(memoryInfo().peakResident, more);
    EXPECT_EQ(touched.back(), 'x');
}

} // namespace zorbel
