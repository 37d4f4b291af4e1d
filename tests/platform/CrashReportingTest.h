#pragma once

#include "app/log/Logger.h"
#include "platform/CrashReporting.h"
#include "tests/platform/CrashDumpCheck.h"
#include "tests/platform/TestFolder.h"

#include <algorithm>
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
                    for (int line = 1; line <= 70; ++line)
                        zorbel::Logger::instance().info("Test", "line " + std::to_string(line) + ".");
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
        const std::string log = checkCrashDump(dump, contents(dump), "1.0.0-test", kind);
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 64) << log;
        EXPECT_EQ(log.find("line 6."), std::string::npos);
        EXPECT_NE(log.find("\"line 7.\"}\n"), std::string::npos);
        EXPECT_NE(log.find("\"line 70.\"}\n"), std::string::npos);
    }
};
