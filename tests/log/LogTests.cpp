#include "app/log/CorrelationId.h"
#include "app/log/FileSink.h"
#include "app/log/LogTail.h"
#include "app/log/Logger.h"
#include "app/log/RecentLines.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

class MemorySink : public ILogSink {
public:
    void write(const char* line, std::size_t length) override { text.append(line, length); }
    void flush() override { ++flushes; }
    std::string text;
    int flushes = 0;
};

class ThrowingSink : public ILogSink {
public:
    void write(const char*, std::size_t) override { throw std::runtime_error("disk full"); }
    void flush() override { throw std::runtime_error("disk full"); }
};

/// The logger with one memory sink, as it was before once the test ends.
class LogTest : public testing::Test {
protected:
    void SetUp() override { Logger::instance().addSink(sink); }
    void TearDown() override {
        Logger::instance().removeSink(sink);
        Logger::instance().setMinLevel(LogLevel::Info);
    }
    std::shared_ptr<MemorySink> sink = std::make_shared<MemorySink>();
    const test::TemporaryFolder temporary;
    const fs::path folder = temporary.path();
};

TEST(LogFormat, WritesTheFieldsByteForByte) {
    using namespace std::chrono;
    const system_clock::time_point time = sys_days(2024y / May / 1) + 9h + 15min + 2s + 7ms + 900us;
    EXPECT_EQ(
        formatLogLine(time, LogLevel::Warn, "App", "sess-1-load-0", "Ready", {{"b", "2"}, {"a", "1"}}),
        "{\"ts\":\"2024-05-01T09:15:02.007Z\",\"level\":\"warn\",\"component\":\"App\",\"correlationId\":"
        "\"sess-1-load-0\",\"message\":\"Ready\",\"meta\":{\"a\":\"1\",\"b\":\"2\"}}\n");
    EXPECT_EQ(
        formatLogLine(
            sys_days(1969y / December / 31) + 23h + 59min + 59s + 999ms, LogLevel::Fatal, "", "", "", {}),
        "{\"ts\":\"1969-12-31T23:59:59.999Z\",\"level\":\"fatal\",\"component\":\"\",\"correlationId\":\"\","
        "\"message\":\"\"}\n");
    EXPECT_EQ(logLevelWord(static_cast<LogLevel>(17)), "info");
}

TEST(LogFormat, EscapesEveryTextAndKeepsUtf8) {
    const std::string raw = std::string("\t\n\r\"\\\x01\x1f", 7) + std::string(1, '\0') + "\x7f – é /";
    const std::string written = "\\t\\n\\r\\\"\\\\\\u0001\\u001f\\u0000\x7f – é /";
    const std::string line = formatLogLine({}, LogLevel::Info, raw, raw, raw, {{raw, raw}});
    EXPECT_EQ(
        line, "{\"ts\":\"1970-01-01T00:00:00.000Z\",\"level\":\"info\",\"component\":\"" + written +
                  "\",\"correlationId\":\"" + written + "\",\"message\":\"" + written + "\",\"meta\":{\"" +
                  written + "\":\"" + written + "\"}}\n");
}

TEST_F(LogTest, DropsWhatIsBelowTheMinimumLevel) {
    Logger& log = Logger::instance();
    log.debug("App", "hidden");
    log.info("App", "first");
    log.setMinLevel(LogLevel::Error);
    log.warn("App", "hidden");
    log.error("App", "second");
    log.setMinLevel(LogLevel::Debug);
    log.debug("App", "third", {{"n", "1"}});

    EXPECT_EQ(sink->text.find("hidden"), std::string::npos) << sink->text;
    EXPECT_EQ(std::ranges::count(sink->text, '\n'), 3);
    EXPECT_TRUE(sink->text.ends_with(
        R"("level":"debug","component":"App","correlationId":"","message":"third","meta":{"n":"1"}})"
        "\n"));
}

TEST_F(LogTest, OneFailingSinkNeitherStopsTheCallerNorTheOtherSinks) {
    const auto broken = std::make_shared<ThrowingSink>();
    const auto last = std::make_shared<MemorySink>();
    Logger::instance().addSink(broken);
    Logger::instance().addSink(last);
    Logger::instance().info("App", "kept");
    Logger::instance().flush();
    Logger::instance().removeSink(broken);
    Logger::instance().removeSink(last);
    Logger::instance().info("App", "after removal");

    EXPECT_NE(last->text.find("kept"), std::string::npos);
    EXPECT_EQ(last->text.find("after removal"), std::string::npos);
    EXPECT_EQ(last->flushes, 1);
}

TEST_F(LogTest, CorrelationBelongsToTheThreadAndIsRestored) {
    Logger& log = Logger::instance();
    {
        const CorrelationId::Scope outer("outer");
        {
            const CorrelationId::Scope inner("inner");
            log.info("App", "one");
        }
        EXPECT_EQ(CorrelationId::current(), "outer");
        std::thread([&log] {
            EXPECT_EQ(CorrelationId::current(), "");
            log.info("App", "two");
        }).join();
        EXPECT_EQ(CorrelationId::set("next"), "outer");
        CorrelationId::restore("outer");
    }
    EXPECT_EQ(CorrelationId::current(), "");
    EXPECT_NE(sink->text.find(R"("correlationId":"inner","message":"one")"), std::string::npos);
    EXPECT_NE(sink->text.find(R"("correlationId":"","message":"two")"), std::string::npos);
}

TEST_F(LogTest, FileIsAppendedToAndWrittenOnFlush) {
    const fs::path path = folder / "zorbel-desktop.log";
    for (const char* message : {"first run", "second run"}) {
        const auto file = std::make_shared<FileSink>(path);
        ASSERT_TRUE(file->isOpen());
        Logger::instance().addSink(file);
        Logger::instance().info("App", message);
        EXPECT_EQ(test::readFile(path).find(message), std::string::npos)
            << "a line was written before the flush";
        Logger::instance().flush();
        EXPECT_NE(test::readFile(path).find(message), std::string::npos);
        Logger::instance().removeSink(file);
    }
    EXPECT_LT(test::readFile(path).find("first run"), test::readFile(path).find("second run"));
}

TEST_F(LogTest, FileThatCannotBeOpenedIsSilent) {
    const auto file = std::make_shared<FileSink>(folder / "absent" / "zorbel-desktop.log");
    EXPECT_FALSE(file->isOpen());
    Logger::instance().addSink(file);
    Logger::instance().info("App", "kept");
    Logger::instance().flush();
    Logger::instance().removeSink(file);
    EXPECT_NE(sink->text.find("kept"), std::string::npos);
}

TEST_F(LogTest, LinesOfManyThreadsNeverInterleave) {
    const fs::path path = folder / "threads.log";
    const auto file = std::make_shared<FileSink>(path);
    Logger::instance().addSink(file);
    constexpr int threadCount = 4;
    constexpr int linesPerThread = 500;
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([t] {
            const CorrelationId::Scope scope("t" + std::to_string(t));
            for (int i = 0; i < linesPerThread; ++i) {
                Logger::instance().info("App", std::string(100, 'x'), {{"n", std::to_string(i)}});
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    Logger::instance().flush();
    Logger::instance().removeSink(file);

    const std::string tail = R"(","message":")" + std::string(100, 'x') + R"(","meta":{"n":")";
    std::ifstream lines(path);
    std::set<std::string> seen;
    for (std::string line; std::getline(lines, line);) {
        const auto at = line.find(tail);
        ASSERT_NE(at, std::string::npos) << line;
        ASSERT_TRUE(line.starts_with("{\"ts\":\"") && line.ends_with("\"}}")) << line;
        seen.insert(line.substr(at - 2, 2) + line.substr(at + tail.size()));
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(threadCount * linesPerThread));
}

TEST_F(LogTest, TheLastBytesAreWholeLines) {
    const fs::path path = folder / "tail.log";
    const auto tail = [&path](const std::string& text, std::size_t most) {
        std::ofstream(path, std::ios::binary) << text;
        return lastBytesOfLog(path, most);
    };
    EXPECT_EQ(tail("one\ntwo\nthree\n", 100), "one\ntwo\nthree\n");
    EXPECT_EQ(tail("one\ntwo\nthree\n", 10), "two\nthree\n");
    EXPECT_EQ(tail("one\ntwo\nthree\n", 9), "three\n");
    EXPECT_EQ(tail("one\ntwo\nthr", 100), "one\ntwo\n") << "the last one is not written to its end";
    EXPECT_EQ(tail("one\ntwo\nthree\n", 5), "");
    EXPECT_EQ(tail("one", 100), "");
    EXPECT_EQ(tail("", 100), "");
    EXPECT_THROW(lastBytesOfLog(folder / "absent.log", 100), std::system_error);
}

TEST_F(LogTest, AnErrorBringsWhatLedToItToTheDisk) {
    Logger::instance().warn("App", "before");
    EXPECT_EQ(sink->flushes, 0);
    Logger::instance().error("App", "failed");
    EXPECT_EQ(sink->flushes, 1);
}

TEST(RecentLines, KeepsTheLastOnesWholeWhileOthersAreWritten) {
    const auto recent = std::make_unique<RecentLines>();
    std::string room(RecentLines::lineCount * RecentLines::longestLine, '\0');
    const auto kept = [&] { return room.substr(0, recent->copy(room.data(), room.size())); };
    std::thread writer([&recent] {
        for (std::size_t line = 0; line < 20'000; ++line) {
            const std::string text(1 + line % 600, static_cast<char>('a' + line % 26));
            recent->write((text + "\n").data(), text.size() + 1);
        }
    });
    for (int look = 0; look < 200; ++look) {
        std::istringstream lines(kept());
        for (std::string line; std::getline(lines, line);)
            ASSERT_TRUE(line.size() < 512 && line.find_first_not_of(line.front()) == line.npos) << line;
    }
    writer.join();
    const auto text = kept();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 200);
    EXPECT_TRUE(text.ends_with("\n" + std::string(200, 'f') + "\n")) << "the last of all";
}

} // namespace
