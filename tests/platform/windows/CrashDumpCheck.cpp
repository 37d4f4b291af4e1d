#include "tests/platform/CrashDumpCheck.h"

#include "platform/SystemInfo.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <dbghelp.h>

void checkCrashDump(
    const std::filesystem::path& path, const std::string& contents, const std::string& version,
    CrashKind kind) {
    EXPECT_EQ(zorbel::platformName(), "windows");
    EXPECT_EQ(path.extension(), ".dmp");
    ASSERT_TRUE(contents.starts_with("MDMP"));

    std::string bytes = contents;
    MINIDUMP_DIRECTORY* directory = nullptr;
    void* stream = nullptr;
    ULONG size = 0;
    ASSERT_TRUE(MiniDumpReadDumpStream(bytes.data(), ExceptionStream, &directory, &stream, &size));
    const DWORD code = static_cast<MINIDUMP_EXCEPTION_STREAM*>(stream)->ExceptionRecord.ExceptionCode;
    switch (kind) {
    case CrashKind::MemoryFault:
        EXPECT_EQ(code, static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
        break;
    case CrashKind::StackOverflow:
        EXPECT_EQ(code, static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW));
        break;
    case CrashKind::Abort:
        EXPECT_EQ(code, 0xE05A0001U);
        break;
    }
    ASSERT_TRUE(MiniDumpReadDumpStream(bytes.data(), CommentStreamA, &directory, &stream, &size));
    EXPECT_EQ(std::string(static_cast<const char*>(stream)), "ZorbelWorkstation version " + version);
}
