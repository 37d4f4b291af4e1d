#include "platform/LinkProtocol.h"
#include "platform/linux/DesktopEntry.h"
#include "tests/platform/TestFolder.h"

#include <cstdlib>

#include <sys/stat.h>

namespace {

using namespace zorbel;
namespace fs = std::filesystem;

class LinkProtocolTest : public TestFolder {
protected:
    void SetUp() override {
        TestFolder::SetUp();
        setenv("XDG_DATA_HOME", (folder / "data").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (folder / "config").c_str(), 1);
    }
    void TearDown() override {
        unsetenv("XDG_DATA_HOME");
        unsetenv("XDG_CONFIG_HOME");
        TestFolder::TearDown();
    }
    fs::path entry() const { return folder / "data/applications/zorbel-viewer.desktop"; }
    fs::path defaults() const { return folder / "config/mimeapps.list"; }
};

TEST(DesktopEntry, QuotesTheExecutable) {
    const auto exec = [](const char* path) {
        const std::string text = linkHandlerDesktopEntry(path);
        const auto start = text.find("\nExec=") + 6;
        return text.substr(start, text.find('\n', start) - start);
    };
    EXPECT_EQ(exec("/opt/Zorbel Viewer/zorbel-desktop"), R"("/opt/Zorbel Viewer/zorbel-desktop" %u)");
    EXPECT_EQ(exec("/a%b/z"), R"("/a%%b/z" %u)");
    EXPECT_EQ(exec("/a\"b`c$d/z"), R"("/a\\"b\\`c\\$d/z" %u)");
    EXPECT_EQ(exec("/a\\b/z"), R"("/a\\\\b/z" %u)");
    EXPECT_EQ(exec("/a\nb/z"), R"("/a\nb/z" %u)");
}

TEST(DesktopEntry, DefaultApplicationKeepsEveryOtherLine) {
    const auto with = [](std::string_view text) {
        return withDefaultApplication(text, "x/zorbel", "z.desktop");
    };
    EXPECT_EQ(with(""), "[Default Applications]\nx/zorbel=z.desktop\n");
    EXPECT_EQ(
        with("[Added Associations]\nx/zorbel=other.desktop;\n"),
        "[Added Associations]\nx/zorbel=other.desktop;\n\n[Default Applications]\nx/zorbel=z.desktop\n");
    EXPECT_EQ(
        with("# mine\n[Default Applications]\ntext/html=b.desktop\n\n[Removed Associations]\na=b"),
        "# mine\n[Default Applications]\nx/zorbel=z.desktop\ntext/html=b.desktop\n\n[Removed "
        "Associations]\na=b\n");
    const std::string replaced =
        with("[Default Applications]\na=b\n x/zorbel = old.desktop;\nc=d\nx/zorbel=x\n");
    EXPECT_EQ(replaced, "[Default Applications]\na=b\nx/zorbel=z.desktop\nc=d\n");
    EXPECT_EQ(with(replaced), replaced);
}

TEST_F(LinkProtocolTest, RegistersOnceAndFollowsAMovedProgram) {
    ASSERT_TRUE(registerLinkProtocol("/opt/first/zorbel-desktop"));
    EXPECT_NE(contents(entry()).find("Exec=\"/opt/first/zorbel-desktop\" %u\n"), std::string::npos);
    EXPECT_NE(contents(entry()).find("\nMimeType=x-scheme-handler/zorbel-viewer;\n"), std::string::npos);
    EXPECT_EQ(
        contents(defaults()),
        "[Default Applications]\nx-scheme-handler/zorbel-viewer=zorbel-viewer.desktop\n");

    // A replaced file would be another inode.
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(stat(entry().c_str(), &before), 0);
    ASSERT_TRUE(registerLinkProtocol("/opt/first/zorbel-desktop"));
    ASSERT_EQ(stat(entry().c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);

    ASSERT_TRUE(registerLinkProtocol("/opt/second/zorbel-desktop"));
    EXPECT_NE(contents(entry()).find("Exec=\"/opt/second/zorbel-desktop\" %u\n"), std::string::npos);
    EXPECT_EQ(entries(entry().parent_path()).size(), 1U);
}

TEST_F(LinkProtocolTest, ChangesALinkedListAtItsPlaceAndKeepsItsMode) {
    const fs::path real = folder / "dotfiles.list";
    std::ofstream(real) << "[Default Applications]\ntext/html=b.desktop\n";
    ASSERT_EQ(chmod(real.c_str(), 0640), 0);
    fs::create_directories(defaults().parent_path());
    fs::create_symlink(real, defaults());

    ASSERT_TRUE(registerLinkProtocol("/opt/zorbel-desktop"));
    EXPECT_TRUE(fs::is_symlink(defaults()));
    EXPECT_EQ(
        contents(real), "[Default Applications]\nx-scheme-handler/zorbel-viewer=zorbel-viewer.desktop\n"
                        "text/html=b.desktop\n");
    struct stat info {};
    ASSERT_EQ(stat(real.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0640U);
}

TEST_F(LinkProtocolTest, FailureIsReported) {
    EXPECT_FALSE(registerLinkProtocol("zorbel-desktop"));
    std::ofstream(folder / "data") << "a file where a folder belongs";
    EXPECT_FALSE(registerLinkProtocol("/opt/zorbel-desktop"));
    fs::remove(folder / "data");
    fs::create_directories(defaults());
    EXPECT_FALSE(registerLinkProtocol("/opt/zorbel-desktop")) << "a list that cannot be read";
}

} // namespace
