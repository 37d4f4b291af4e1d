#include "tests/platform/CrashDumpCheck.h"

#include "platform/CrashReporting.h"
#include "platform/SystemInfo.h"
#include "tests/platform/CrashReportingTest.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <dbghelp.h>

const std::string CrashReportingTest::extension = ".dmp";

std::string checkCrashDump(
    const std::filesystem::path& path, const std::string& contents, const std::string& version,
    CrashKind kind) {
    EXPECT_EQ(zorbel::platformName(), "windows");
    EXPECT_EQ(path.extension(), ".dmp");
    if (!contents.starts_with("MDMP")) {
        ADD_FAILURE() << "no dump";
        return {};
    }

    std::string bytes = contents;
    MINIDUMP_DIRECTORY* directory = nullptr;
    void* stream = nullptr;
    ULONG size = 0;
    if (!MiniDumpReadDumpStream(bytes.data(), ExceptionStream, &directory, &stream, &size)) {
        ADD_FAILURE() << "no exception";
        return {};
    }
    const DWORD code = static_cast<MINIDUMP_EXCEPTION_STREAM*>(stream)->ExceptionRecord.ExceptionCode;
    switch (kind) {
    case CrashKind::MemoryFault:
        EXPECT_EQ(code, static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
        break;
    case CrashKind::StackOverflow:
        EXPECT_EQ(code, static_cast<DWORD>(EXCEPTION_STACK_OVERFLOW));
        break;
    case CrashKind::Abort:
    case CrashKind::Exception:
    case CrashKind::OutOfMemory:
        EXPECT_EQ(code, 0xE05A0001U);
        break;
    }
    if (MiniDumpReadDumpStream(bytes.data(), CommentStreamA, &directory, &stream, &size)) {
        const std::string comment(static_cast<const char*>(stream));
        EXPECT_TRUE(comment.starts_with("ZorbelWorkstation version " + version)) << comment;
        const std::string reason = kind == CrashKind::Exception ? "\nreason an exception that nobody caught\n"
                                   : kind == CrashKind::OutOfMemory ? "\nreason out of memory\n"
                                                                    : "";
        EXPECT_NE(comment.find(reason), std::string::npos) << comment;
    } else {
        ADD_FAILURE() << "no comment";
    }
    if (!MiniDumpReadDumpStream(bytes.data(), zorbel::crashDumpLogStream, &directory, &stream, &size))
        return {};
    return {static_cast<const char*>(stream), size};
}
