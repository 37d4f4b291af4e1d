#include "platform/PrivateFile.h"
#include "tests/platform/TestFolder.h"
#include "tests/support/ErrorOf.h"

#include <thread>

namespace {

using namespace zorbel;
using test::errorOf;
namespace fs = std::filesystem;

using PrivateFileTest = TestFolder;

TEST_F(PrivateFileTest, WritesReplacesAndLeavesNothingElse) {
    const fs::path file = folder / fs::path(u8"Röntgen — 1.json");
    const std::string binary("a\0b\r\nc\x1a", 7);
    writePrivateFile(file, "longer than what follows");
    writePrivateFile(file, binary);
    EXPECT_EQ(contents(file), binary);
    const std::string large(5'000'000, 'x');
    writePrivateFile(file, large);
    EXPECT_EQ(contents(file), large);
    writePrivateFile(file, "");
    EXPECT_EQ(contents(file), "");
    EXPECT_EQ(entries(folder).size(), 1U);
}

TEST_F(PrivateFileTest, WritersAtTheSameTimeLeaveOneWholeText) {
    const fs::path file = folder / "shared.json";
    std::vector<std::thread> writers;
    for (const char letter : {'a', 'b'}) {
        writers.emplace_back([&file, letter] {
            for (int i = 0; i < 20; ++i) {
                // Windows may refuse a replacement that meets another one; what counts is what the file
                // holds.
                errorOf([&] { writePrivateFile(file, std::string(100'000, letter)); });
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    const std::string text = contents(file);
    EXPECT_EQ(text, std::string(100'000, text.empty() ? '?' : text.front()));
    EXPECT_EQ(entries(folder).size(), 1U);
}

TEST_F(PrivateFileTest, FailureNamesTheFileAndKeepsWhatWasThere) {
    const fs::path inAbsentFolder = folder / "absent" / "reading.json";
    EXPECT_NE(
        errorOf([&] { writePrivateFile(inAbsentFolder, "x"); }).find("reading.json"), std::string::npos);
    EXPECT_NE(errorOf([&] { createPrivateFile(inAbsentFolder); }).find("reading.json"), std::string::npos);

    const fs::path occupied = folder / "occupied";
    fs::create_directories(occupied / "child");
    EXPECT_NE(errorOf([&] { writePrivateFile(occupied, "x"); }).find("occupied"), std::string::npos);
    EXPECT_TRUE(fs::is_directory(occupied / "child"));
    EXPECT_EQ(entries(folder).size(), 1U) << "a temporary file was left behind";
}

TEST_F(PrivateFileTest, CreatedFileIsNewAndFolderMayExist) {
    const fs::path deep = folder / "one" / "two";
    createPrivateFolder(deep);
    createPrivateFolder(deep);
    EXPECT_TRUE(fs::is_directory(deep));

    const fs::path file = deep / "part.tmp";
    createPrivateFile(file);
    EXPECT_EQ(fs::file_size(file), 0U);
    std::ofstream(file) << "kept";
    EXPECT_NE(errorOf([&] { createPrivateFile(file); }), "");
    EXPECT_EQ(contents(file), "kept");
    EXPECT_NE(errorOf([&] { createPrivateFolder(file); }).find("part.tmp"), std::string::npos);
    EXPECT_NE(errorOf([&] { createPrivateFolder(file / "below"); }).find("part.tmp"), std::string::npos);
}

} // namespace
