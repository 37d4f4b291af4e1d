#pragma once

#include "app/log/Logger.h"
#include "platform/CrashDumps.h"
#include "platform/CrashReporting.h"
#include "tests/platform/CrashDumpCheck.h"
#include "tests/platform/TestFolder.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <string>

class CrashReportingTest : public TestFolder {
protected:
    void SetUp() override {
        TestFolder::SetUp();
        std::filesystem::create_directories(dumps);
        for (int day = 10; day < 10 + earlier; ++day)
            std::ofstream(
                dumps / ("ZorbelWorkstation-202001" + std::to_string(day) + "T000000Z-7" + extension))
                << "an earlier fault";
        std::ofstream(dumps / "ZorbelWorkstation-notes.txt") << "no dump";
    }

    /// Crashes a second process, looks at the dump that it must leave, and returns what is in it.
    std::string expectDump(const std::function<void()>& crash, CrashKind kind) {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        const auto begin = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        EXPECT_DEATH(
            {
                if (zorbel::installCrashReporting(dumps, baseName, "1.0.0-test")) {
                    for (int line = 1; line <= 210; ++line)
                        zorbel::Logger::instance().info("Test", "line " + std::to_string(line) + ".");
                    crash();
                }
                std::exit(0);
            },
            "");
        const auto found = zorbel::CrashDumps(dumps, baseName).list();
        EXPECT_EQ(found.size(), zorbel::CrashDumps::mostKept + 1) << "the newest of before, and this one";
        EXPECT_EQ(entries(dumps).size(), found.size() + 1) << "what is no dump stays";
        if (found.empty() || found.front().time < begin) {
            ADD_FAILURE() << "no dump";
            return {};
        }
        EXPECT_EQ(found.back().file.stem(), "ZorbelWorkstation-20200112T000000Z-7");
        const std::string text = contents(found.front().file);
        EXPECT_EQ(found.front().size, text.size());
        const std::string log = checkCrashDump(found.front().file, text, "1.0.0-test", kind);
        EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 200) << log;
        EXPECT_EQ(log.find("line 10."), std::string::npos);
        EXPECT_NE(log.find("\"line 11.\"}\n"), std::string::npos);
        EXPECT_NE(log.find("\"line 210.\"}\n"), std::string::npos);
        return text;
    }

    static constexpr char baseName[] = "ZorbelWorkstation";
    static constexpr int earlier = 12;
    static const std::string extension;
    const std::filesystem::path dumps = folder / "crashes";
};
