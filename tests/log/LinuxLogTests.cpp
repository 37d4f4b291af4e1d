#include "app/log/FileSink.h"
#include "app/log/Logger.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include <sys/stat.h>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

class LinuxLogTest : public testing::Test {
protected:
    const test::TemporaryFolder temporary;
    const fs::path folder = temporary.path();
};

TEST_F(LinuxLogTest, FileIsPrivateWhateverTheUmaskAndAnEarlierModeWere) {
    const fs::path path = folder / "private.log";
    std::ofstream(path).put('\n');
    ASSERT_EQ(chmod(path.c_str(), 0666), 0);
    const FileSink sink(path);
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(LinuxLogTest, FullDiskLosesLinesAndNothingElse) {
    const auto full = std::make_shared<FileSink>("/dev/full");
    ASSERT_TRUE(full->isOpen());
    const auto file = std::make_shared<FileSink>(folder / "other.log");
    Logger::instance().addSink(full);
    Logger::instance().addSink(file);
    for (int i = 0; i < 100; ++i) {
        Logger::instance().info("App", std::string(1000, 'x'));
    }
    Logger::instance().flush();
    Logger::instance().removeSink(full);
    Logger::instance().removeSink(file);
    EXPECT_GT(fs::file_size(folder / "other.log"), 100000U);
}

struct LogsInItsDestructor {
    ~LogsInItsDestructor() { Logger::instance().info("App", "written by a static's destructor"); }
};

[[noreturn]] void exitWithLoggingStatics(const fs::path& path) {
    static const LogsInItsDestructor early;
    Logger::instance().addSink(std::make_shared<FileSink>(path));
    static const LogsInItsDestructor late;
    std::exit(0);
}

TEST_F(LinuxLogTest, StaticsMayLogWhileTheProcessEnds) {
    const fs::path path = folder / "exit.log";
    EXPECT_EXIT(exitWithLoggingStatics(path), testing::ExitedWithCode(0), "");
    const std::string lines = test::readFile(path);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2);
}

} // namespace
