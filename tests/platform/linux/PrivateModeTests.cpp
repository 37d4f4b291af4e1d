#include "platform/PrivateFile.h"
#include "tests/platform/TestFolder.h"

#include <csignal>
#include <system_error>

#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

using PrivateModeTest = TestFolder;

unsigned modeOf(const fs::path& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 0;
}

TEST_F(PrivateModeTest, NobodyElseMayOpenWhateverTheUmask) {
    const mode_t before = umask(0);
    createPrivateFolder(folder / "one" / "two");
    createPrivateFile(folder / "empty");
    writePrivateFile(folder / "written", "x");
    umask(before);
    EXPECT_EQ(modeOf(folder / "one"), 0700U);
    EXPECT_EQ(modeOf(folder / "one" / "two"), 0700U);
    EXPECT_EQ(modeOf(folder / "empty"), 0600U);
    EXPECT_EQ(modeOf(folder / "written"), 0600U);

    chmod((folder / "one").c_str(), 0755);
    chmod((folder / "one" / "two").c_str(), 0755);
    chmod((folder / "written").c_str(), 0644);
    createPrivateFolder(folder / "one" / "two");
    writePrivateFile(folder / "written", "y");
    EXPECT_EQ(modeOf(folder / "one" / "two"), 0700U);
    EXPECT_EQ(modeOf(folder / "one"), 0755U) << "a parent that was there is not ours to change";
    EXPECT_EQ(modeOf(folder / "written"), 0600U);
}

TEST_F(PrivateModeTest, LinksAndOpenFoldersAreNotOnesOwn) {
    createPrivateFolder(folder / "own");
    fs::create_directory_symlink(folder / "own", folder / "link");
    EXPECT_FALSE(isOwnFolder(folder / "link"));
    fs::permissions(folder / "own", fs::perms::all);
    EXPECT_FALSE(isOwnFolder(folder / "own")) << "others may write there";
}

TEST_F(PrivateModeTest, FullDiskKeepsTheEarlierContents) {
    const fs::path file = folder / "reading.json";
    writePrivateFile(file, "earlier");

    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{1000, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_THROW(writePrivateFile(file, std::string(5000, 'x')), std::system_error);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ(contents(file), "earlier");
    EXPECT_EQ(entries(folder).size(), 1U);
}

} // namespace
