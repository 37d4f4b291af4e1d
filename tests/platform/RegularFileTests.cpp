#include "platform/DiskFlush.h"
#include "platform/PrivateFile.h"
#include "platform/RegularFile.h"
#include "tests/platform/TestFolder.h"
#include "tests/support/ErrorOf.h"

#include <functional>
#include <system_error>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

using RegularFileTest = TestFolder;

std::string textOf(RegularFile& file, std::size_t block) {
    std::string all;
    std::string part(block, '\0');
    while (const auto count = file.read(std::as_writable_bytes(std::span(part))))
        all.append(part, 0, count);
    return all;
}

/// Whether it throws an error that names the path.
bool refuses(const std::function<void()>& action, const std::string& named) {
    return test::errorOf(action).find(named) != std::string::npos;
}

TEST_F(RegularFileTest, ReadsAFileInBlocksAndFlushesIt) {
    const fs::path file = folder / fs::path(u8"Röntgen.dcm");
    std::string bytes(100'001, 'x');
    bytes.replace(0, 6, std::string("a\r\n\x1a\0b", 6));
    writePrivateFile(file, bytes);
    for (const std::size_t block : {1'000U, 65'536U, 200'000U}) {
        RegularFile opened(file);
        EXPECT_EQ(opened.size(), bytes.size());
        RegularFile moved(std::move(opened));
        EXPECT_EQ(textOf(moved, block), bytes);
    }
    beginFlush(file);
    flushFile(file);
    flushFolder(folder);
    EXPECT_EQ(contents(file), bytes);
}

TEST_F(RegularFileTest, RefusesWhatIsNoFileAndNamesIt) {
    const fs::path absent = folder / "absent";
    EXPECT_TRUE(refuses([&] { RegularFile file(absent); }, "absent"));
    EXPECT_TRUE(refuses([&] { flushFile(absent); }, "absent"));
    EXPECT_TRUE(refuses([&] { flushFolder(absent); }, "absent"));
    beginFlush(absent);
    EXPECT_TRUE(refuses([&] { RegularFile file(folder); }, folder.filename().string()));

    writePrivateFile(folder / "file", "x");
    std::error_code error;
    fs::create_symlink(folder / "file", folder / "link", error);
    if (error)
        GTEST_SKIP() << "no links here: " << error.message();
    EXPECT_TRUE(refuses([&] { RegularFile file(folder / "link"); }, "link"));
}

} // namespace
