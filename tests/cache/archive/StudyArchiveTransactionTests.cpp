#include "tests/cache/archive/ArchiveFixture.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorbel::tests {

namespace {

namespace fs = std::filesystem;

using StudyArchiveTransactionTest = ArchiveFixture;

TEST_F(StudyArchiveTransactionTest, WritesPrivateFilesAndAManifestThatDescribesThem) {
    umask(022);
    {
        auto transaction = begin();
        for (const auto& [id, bytes] : newContents()) {
            EXPECT_EQ(transaction.pathFor(id).filename(), id + ".dcm");
            test::writeFile(transaction.pathFor(id), bytes);
        }
        transaction.addInstance("e"); // the order in which they were added is the manifest's
        transaction.addInstance("b");
        transaction.addInstance("d-1_X");
        transaction.commit();
        EXPECT_EQ(errorOf([&] { transaction.commit(); }), "Study archive transaction is already committed");
    }
    EXPECT_EQ(verified(), newContents());
    EXPECT_TRUE(leftovers().empty());

    const std::string text = test::readFile(archive / "archive-manifest.json");
    EXPECT_EQ(text.find("{\n  \"version\": \"zorbel-study-archive.v2\""), 0U) << text;
    const auto manifest = nlohmann::json::parse(text);
    EXPECT_EQ(manifest.at("studyInstanceUID"), "1.2");
    EXPECT_EQ(manifest.at("seriesInstanceUID"), "1.2.3");
    ASSERT_EQ(manifest.at("instances").size(), 3U);
    EXPECT_EQ(manifest.at("instances").at(1).at("byteLength"), 70'000U);
    EXPECT_EQ(
        manifest.at("instances").at(0),
        (nlohmann::json{
            {"id", "e"},
            {"byteLength", 1},
            {"sha256", "ef2d127de37b942baad06145e54b0c619a1f22327b2ebbcfbec78f5564afe39d"}}));

    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        struct stat info {};
        ASSERT_EQ(lstat(entry.path().c_str(), &info), 0);
        EXPECT_EQ(info.st_mode & 0777U, entry.is_directory() ? 0700U : 0600U) << entry.path();
    }
}

TEST_F(StudyArchiveTransactionTest, RefusesBeforeItTouchesAnything) {
    const auto beginError = [&](const fs::path& folder, int timeout) {
        return errorOf([&] {
            StudyArchiveTransaction::begin(folder, "1.2", "1.2.3", std::chrono::milliseconds(timeout));
        });
    };
    for (const char* folder : {"", "name", "/", "/parent/", "/parent/.."})
        EXPECT_EQ(beginError(folder, 0), "Study archive final directory is invalid") << folder;
    EXPECT_EQ(beginError(archive, -1), "Study archive lock timeout cannot be negative");
    test::writeFile(root / "file", "x");
    EXPECT_EQ(
        beginError(root / "file" / "below" / "x", 0),
        "Cannot create study archive parent directory: " + (root / "file" / "below").string());
    fs::create_directories(archive.string() + ".lock");
    EXPECT_EQ(beginError(archive, 0), "Cannot acquire study archive lock (system error 21)");
    fs::remove(archive.string() + ".lock");

    store(oldContents());
    const auto commitError = [&](const std::string& study, const std::string& series,
                                 const std::vector<std::string>& ids) {
        auto transaction = StudyArchiveTransaction::begin(archive, study, series, {});
        test::writeFile(transaction.pathFor("good"), "x");
        test::writeFile(transaction.pathFor("empty"), "");
        test::writeFile(root / "outside.dcm", "x");
        fs::create_symlink(root / "outside.dcm", transaction.pathFor("link"));
        fs::create_directories(transaction.pathFor("folder"));
        for (const auto& id : ids)
            transaction.addInstance(id);
        return errorOf([&] { transaction.commit(); });
    };
    EXPECT_EQ(commitError("", "", {}), "Study archive requires a Study Instance UID");
    EXPECT_EQ(commitError("1.2", "", {}), "Study archive requires a Series Instance UID");
    EXPECT_EQ(commitError("1.2", "1.2.3", {}), "Study archive requires at least one instance");
    for (const char* id : {"", ".", "..", "../x", "a/b", "a.b", "a b", "a\\b", "\xC3\xA4", "a\n"})
        EXPECT_EQ(
            commitError("1.2", "1.2.3", {"missing", id}),
            std::string("Unsafe Orthanc instance identifier: ") + id);
    EXPECT_EQ(
        commitError("1.2", "1.2.3", {"missing", "good", "missing"}),
        "Duplicate Orthanc instance identifier: missing");
    for (const std::string id : {"missing", "empty", "link", "folder"}) {
        const std::string error = commitError("1.2", "1.2.3", {"good", id});
        EXPECT_EQ(error.find("Study archive instance is missing or empty: /"), 0U) << error;
        EXPECT_NE(error.find("/" + id + ".dcm"), std::string::npos) << error;
    }
    EXPECT_EQ(verified(), oldContents());
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(StudyArchiveTransactionTest, AdoptRefusesWhatIsNoFileAndKeepsTheSource) {
    test::writeFile(root / "incoming" / "one", "1");
    fs::create_symlink(root / "incoming" / "one", root / "incoming" / "link");
    auto transaction = begin();
    EXPECT_EQ(
        errorOf([&] { transaction.adopt("../../x", root / "incoming" / "one"); }),
        "Unsafe Orthanc instance identifier: ../../x");
    for (const char* name : {"link", "absent", "."})
        EXPECT_EQ(
            errorOf([&] {
                transaction.adopt("x", root / "incoming" / name);
            }).find("Study archive instance is missing or empty: "),
            0U);
    transaction.adopt("x", root / "incoming" / "one");
    test::writeFile(root / "incoming" / "one", "another");
    EXPECT_EQ(
        errorOf([&] { transaction.adopt("x", root / "incoming" / "one"); }),
        "Duplicate Orthanc instance identifier: x");
    EXPECT_EQ(test::readFile(root / "incoming" / "one"), "another");
    transaction.commit();
    EXPECT_EQ(verified(), (Contents{{"x", "1"}}));
}

TEST_F(StudyArchiveTransactionTest, AWriterWaitsForTheOtherOrGivesUp) {
    std::optional<StudyArchiveTransaction> first = begin();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(
        errorOf([&] { begin(std::chrono::milliseconds(50)); }),
        "Timed out waiting for another study archive writer");
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(leftovers().size(), 1U) << "the first writer's staging folder stays";

    std::thread second([&] { store(newContents()); });
    test::writeFile(root / "one", "1");
    first->adopt("x", root / "one");
    first->commit();
    first.reset();
    second.join();
    EXPECT_EQ(verified(), newContents());
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(StudyArchiveTransactionTest, ReadersNeverMeetHalfOfAnArchiveWhileProcessesReplaceIt) {
    store(oldContents());
    std::vector<pid_t> writers;
    for (const auto& contents : {oldContents(), newContents()}) {
        const pid_t writer = fork();
        if (writer == 0) {
            const fs::path incoming = root / std::to_string(getpid());
            bool stored = true;
            for (int i = 0; i < 25; ++i)
                stored = errorOf([&] { store(contents, incoming); }).empty() && stored;
            _exit(stored ? 0 : 1);
        }
        writers.push_back(writer);
    }
    for (const pid_t writer : writers) {
        int status = -1;
        while (waitpid(writer, &status, WNOHANG) == 0) {
            const auto result = verify();
            EXPECT_EQ(result.state, State::Verified) << result.reason;
        }
        EXPECT_EQ(status, 0);
    }
    EXPECT_TRUE(verified() == oldContents() || verified() == newContents());
    EXPECT_TRUE(leftovers().empty());
}

TEST_F(StudyArchiveTransactionTest, ACacheRemovedInTheMiddleIsAnErrorAndNothingMore) {
    {
        auto transaction = begin();
        test::writeFile(root / "one", "1");
        transaction.adopt("x", root / "one");
        fs::remove_all(root / "scope");
        EXPECT_EQ(
            errorOf([&] { transaction.commit(); }).find("Study archive instance is missing or empty: "), 0U);
        test::writeFile(root / "two", "2");
        EXPECT_EQ(
            errorOf([&] {
                transaction.adopt("y", root / "two");
            }).find("Cannot copy study archive instance: "),
            0U);
        EXPECT_EQ(test::readFile(root / "two"), "2");
    }
    EXPECT_FALSE(fs::exists(root / "scope"));
    store(oldContents());
    EXPECT_EQ(verified(), oldContents());
}

TEST_F(StudyArchiveTransactionTest, AFinalNameThatIsALinkOrAFileIsReplacedItself) {
    test::writeFile(root / "elsewhere" / "kept", "kept");
    fs::create_directories(archive.parent_path());
    fs::create_directory_symlink(root / "elsewhere", archive);
    EXPECT_EQ(verify().state, State::Damaged);
    store(oldContents());
    EXPECT_EQ(verified(), oldContents());
    EXPECT_EQ(test::readFile(root / "elsewhere" / "kept"), "kept");

    fs::remove_all(archive);
    test::writeFile(archive, "a file");
    EXPECT_EQ(verify().state, State::Damaged);
    store(newContents());
    EXPECT_EQ(verified(), newContents());
    EXPECT_TRUE(leftovers().empty());
}

} // namespace

} // namespace zorbel::tests
