#include "tests/platform/CrashDumpCheck.h"

#include "platform/SystemInfo.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <sys/stat.h>

std::string checkCrashDump(
    const std::filesystem::path& path, const std::string& contents, const std::string& version,
    CrashKind kind) {
    EXPECT_EQ(zorbel::platformName(), "linux");
    EXPECT_EQ(path.extension(), ".txt");
    EXPECT_NE(contents.find("\nversion " + version + "\n"), std::string::npos) << contents;
    const char* signal = kind == CrashKind::Abort ? "\nsignal 6 SIGABRT" : "\nsignal 11 SIGSEGV";
    EXPECT_NE(contents.find(signal), std::string::npos) << contents;
    const auto frames = contents.substr(contents.find("\ncall chain\n") + 12);
    EXPECT_GE(std::count(frames.begin(), frames.end(), '\n'), 4) << contents;
    EXPECT_NE(frames.find("platform_test("), std::string::npos) << "no frame of the program itself\n"
                                                                << contents;

    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    EXPECT_EQ(stat(path.parent_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);

    const std::string title = "\nlast log lines\n";
    const auto first = contents.find(title) + title.size();
    return contents.substr(first, contents.find("call chain\n") - first);
}
