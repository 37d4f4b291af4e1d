#pragma once

#include "platform/CrashReporting.h"
#include "tests/platform/CrashDumpCheck.h"
#include "tests/platform/TestFolder.h"

#include <cstdlib>
#include <functional>
#include <regex>

class CrashReportingTest : public TestFolder {
protected:
    /// Crashes a second process and looks at the one dump that it must leave.
    void expectDump(const std::function<void()>& crash, CrashKind kind) {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        const std::filesystem::path dumps = folder / "crashes";
        EXPECT_DEATH(
            {
                if (zorbel::installCrashReporting(dumps, "ZorbelWorkstation", "1.0.0-test")) {
                    crash();
                }
                std::exit(0);
            },
            "");
        ASSERT_EQ(entries(dumps).size(), 1U);
        const std::filesystem::path dump = entries(dumps).front();
        EXPECT_TRUE(std::regex_match(
            dump.stem().string(), std::regex("ZorbelWorkstation-20[0-9]{6}T[0-9]{6}Z-[0-9]+")))
            << dump;
        checkCrashDump(dump, contents(dump), "1.0.0-test", kind);
    }
};
