#include "tests/platform/CrashDumpCheck.h"

#include "platform/SystemInfo.h"
#include "tests/platform/CrashReportingTest.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>

#include <sys/stat.h>

const std::string CrashReportingTest::extension = ".txt";

namespace {

/// As the system's own tool reads it.
std::string buildIdOfThisProgram() {
    const std::string command = "readelf -n " + std::filesystem::read_symlink("/proc/self/exe").string();
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> tool(popen(command.c_str(), "r"), pclose);
    std::array<char, 4096> bytes{};
    const std::string text(bytes.data(), std::fread(bytes.data(), 1, bytes.size(), tool.get()));
    const auto at = text.find("Build ID: ");
    return at == text.npos ? "none" : text.substr(at + 10, text.find('\n', at) - at - 10);
}

/// What the dump says of the kind, a line each.
std::string headOf(CrashKind kind) {
    switch (kind) {
    case CrashKind::MemoryFault:
        return "\nreason memory fault\nsignal 11 SIGSEGV, code 1, address near zero\n";
    case CrashKind::StackOverflow:
        return "\nreason stack overflow\nsignal 11 SIGSEGV, code ";
    case CrashKind::Abort:
        return "\nreason the program ended itself\nsignal 6 SIGABRT, ";
    case CrashKind::Exception:
        return "\nreason an exception that nobody caught\nexception ";
    case CrashKind::OutOfMemory:
        return "\nreason out of memory\nexception St9bad_alloc\nsignal 6 SIGABRT, ";
    }
    return "?";
}

} // namespace

std::string checkCrashDump(
    const std::filesystem::path& path, const std::string& contents, const std::string& version,
    CrashKind kind) {
    EXPECT_EQ(zorbel::platformName(), "linux");
    EXPECT_EQ(path.extension(), ".txt");
    EXPECT_NE(contents.find("\nversion " + version + "\n"), std::string::npos) << contents;
    EXPECT_NE(contents.find("\nbuild id " + buildIdOfThisProgram() + "\n"), std::string::npos) << contents;
    EXPECT_NE(contents.find("\nplatform_test " + buildIdOfThisProgram() + "\n"), std::string::npos);
    EXPECT_NE(contents.find(headOf(kind)), std::string::npos) << contents;
    EXPECT_TRUE(contents.ends_with("\nend of the report\n")) << contents;
    const auto chain = contents.find("\ncall chain\n");
    EXPECT_NE(contents.find("\nplatform_test+0x", chain), std::string::npos) << contents;

    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
    EXPECT_EQ(stat(path.parent_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700U);

    const std::string title = "\nlast log lines\n";
    const auto first = contents.find(title) + title.size();
    return contents.substr(first, chain + 1 - first);
}
