#include "cache/SessionWorkspace.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zorbel {
namespace {

namespace fs = std::filesystem;

class SessionWorkspaceTest : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(parent_.isValid()); }

    fs::path parent() const { return parent_.path().toStdString(); }
    QStringList workspaces() const {
        return QDir(parent_.path()).entryList({QStringLiteral("zorbel-viewer-session-*")});
    }
    /// As a killed program leaves it: whole, with a lock file that nobody holds.
    fs::path leaveBehind(const char* name, bool withLock = true) const {
        const fs::path folder = parent() / (std::string("zorbel-viewer-session-") + name);
        fs::create_directories(folder / "load-1" / "deeper");
        fs::permissions(folder, fs::perms::owner_all);
        std::ofstream(folder / "load-1" / "1.dcm") << "image";
        if (withLock)
            std::ofstream(folder / "owner.lock") << "";
        return folder;
    }

    QTemporaryDir parent_;
};

TEST_F(SessionWorkspaceTest, goesWithItsOwnerAndALoadFolderWithItsLoad) {
    {
        SessionWorkspace workspace(parent_.path());
        EXPECT_TRUE(workspaces().isEmpty()) << "created on first use";
        const auto first = workspace.newLoadFolder();
        auto second = workspace.newLoadFolder();
        EXPECT_EQ(workspaces().size(), 1);
        EXPECT_NE(first->path(), second->path());
        const fs::path gone = second->path();
        std::ofstream(gone / "1.dcm") << "image";
        second.reset();
        EXPECT_FALSE(fs::exists(gone));
        EXPECT_TRUE(fs::is_directory(first->path()));
    }
    EXPECT_TRUE(workspaces().isEmpty());
}

TEST_F(SessionWorkspaceTest, leftoversGoAndWhatARunningProgramUsesStays) {
    SessionWorkspace running(parent_.path());
    const auto load = running.newLoadFolder();
    std::ofstream(load->path() / "1.dcm") << "in use";
    leaveBehind("killed");
    leaveBehind("unlocked", false);
    fs::create_directory(parent() / "somebody-elses");

    const auto result = SessionWorkspace::removeLeftovers(parent_.path());
    EXPECT_EQ(result.removed, 2);
    EXPECT_EQ(result.kept, 0);
    EXPECT_EQ(workspaces().size(), 1);
    EXPECT_TRUE(fs::exists(load->path() / "1.dcm"));
    EXPECT_TRUE(fs::exists(parent() / "somebody-elses"));
    EXPECT_EQ(SessionWorkspace::removeLeftovers(parent_.path()).removed, 0);
}

TEST_F(SessionWorkspaceTest, cleanUpFollowsNoLink) {
    const fs::path precious = parent() / "precious";
    fs::create_directory(precious);
    std::ofstream(precious / "kept") << "kept";
    fs::create_directory_symlink(precious, parent() / "zorbel-viewer-session-linked");
    const fs::path killed = leaveBehind("killed");
    fs::create_directory_symlink(precious, killed / "load-1" / "link");
    fs::create_directory_symlink(precious, killed / "link");

    const fs::path lockedElsewhere = leaveBehind("planted", false);
    fs::create_symlink(precious / "kept", lockedElsewhere / "owner.lock");

    const auto result = SessionWorkspace::removeLeftovers(parent_.path());
    EXPECT_EQ(result.removed, 1);
    EXPECT_EQ(result.kept, 1) << "a lock file that is a link is not opened";
    EXPECT_FALSE(fs::exists(killed));
    EXPECT_TRUE(fs::exists(precious / "kept"));
}

TEST_F(SessionWorkspaceTest, aSweptWorkspaceIsMadeAnew) {
    SessionWorkspace workspace(parent_.path());
    workspace.newLoadFolder();
    fs::remove_all(parent() / workspaces().front().toStdString());
    EXPECT_TRUE(fs::is_directory(workspace.newLoadFolder()->path().parent_path()));

    SessionWorkspace nowhere(parent_.filePath(QStringLiteral("absent")));
    EXPECT_THROW(nowhere.newLoadFolder(), std::runtime_error);
}

} // namespace
} // namespace zorbel
