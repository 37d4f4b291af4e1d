#include "tests/cache/archive/ArchiveFixture.h"
#include "tests/faults/DiskFaults.h"

#include <algorithm>
#include <atomic>
#include <optional>
#include <regex>
#include <sstream>
#include <thread>

#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace zorbel::tests {

namespace {

namespace fs = std::filesystem;

bool isKnownText(const std::string& text) {
    static const std::regex known(
        "Cannot create study archive (parent directory|staging directory|manifest): /.*|"
        "Cannot acquire study archive lock \\(system error [0-9]+\\)|"
        "Cannot (copy|store) study archive instance: /.*|"
        "Cannot (write|finalize) study archive manifest: /.*|"
        "Cannot (quarantine previous|promote completed) study archive: [A-Z].*");
    return std::regex_match(text, known);
}

class StudyArchiveFaultTest : public ArchiveFixture {
protected:
    StudyArchiveFaultTest() : ArchiveFixture(test::memoryDisk()) {}

    /// Replaces (or creates) the archive with the fault at each call in turn, until there is none left.
    void sweep(const DiskFaultKind& kind, const std::optional<Contents>& before, const fs::path& incoming) {
        for (unsigned long at = 1;; ++at) {
            ASSERT_LT(at, 500U);
            fs::remove_all(root / "scope");
            if (before)
                store(*before);
            const auto run = runWithDiskFault(
                {.at = at, .error = kind.error, .lasting = kind.lasting, .under = root / "scope"},
                [&] { store(newContents(), incoming); });
            SCOPED_TRACE(
                std::string(kind.name) + " at call " + std::to_string(at) + ": " + run.call + run.exception);
            EXPECT_EQ(run.killed, run.reached && kind.error == 0);
            if (!run.exception.empty()) {
                EXPECT_TRUE(isKnownText(run.exception));
            }

            // A writer that lives on puts back itself what it moved away, unless the disk is gone for good.
            EXPECT_TRUE(!before || run.killed || kind.lasting || fs::exists(archive));
            const auto found = verify();
            const Contents after = verified();
            EXPECT_NE(found.state, State::Damaged) << found.reason;
            if (run.exception.empty() && !run.killed)
                EXPECT_EQ(after, newContents());
            else
                EXPECT_TRUE(after == before.value_or(Contents()) || after == newContents());

            store({{"last", "after the fault"}});
            EXPECT_EQ(verified(), (Contents{{"last", "after the fault"}}));
            EXPECT_TRUE(leftovers().empty()) << *leftovers().begin();
            if (HasFailure())
                return;
            if (!run.reached) {
                EXPECT_GT(at, 8U) << "the faults were not counted";
                return;
            }
        }
    }
};

TEST_F(StudyArchiveFaultTest, EveryFaultWhileReplacingLeavesOneWholeArchive) {
    for (const DiskFaultKind& kind : diskFaultKinds)
        sweep(kind, oldContents(), root / "incoming");
}

TEST_F(StudyArchiveFaultTest, EveryFaultWhileCreatingLeavesNothingOrAWholeArchive) {
    for (const DiskFaultKind& kind : diskFaultKinds)
        sweep(kind, std::nullopt, root / "incoming");
}

TEST_F(StudyArchiveFaultTest, CancelledAtAnyCallItEndsSoonWithOneWholeArchive) {
    Contents many;
    for (int i = 0; i < 40; ++i)
        many["i" + std::to_string(i)] = std::string(5000, 'n');
    // Each core may have gone past the flag once more; a manifest is written, or a folder renamed, to its
    // end.
    const unsigned soon = 4 + std::thread::hardware_concurrency();
    bool cancelled = true;
    for (unsigned at = 1; cancelled; ++at) {
        ASSERT_LT(at, 500U);
        SCOPED_TRACE(at);
        fs::remove_all(root / "scope");
        store(oldContents());
        std::atomic<bool> cancel = false;
        std::atomic<unsigned> calls = 0;
        std::atomic<unsigned> afterwards = 0;
        std::string error;
        {
            auto transaction = begin();
            for (const auto& [id, bytes] : many) {
                test::writeFile(root / "incoming" / id, bytes);
                transaction.adopt(id, root / "incoming" / id);
            }
            DiskFault watching;
            watching.under = root / "scope";
            watching.watch = [&](const std::string&, const std::string&) {
                if (cancel)
                    ++afterwards;
                else if (++calls == at)
                    cancel = true;
            };
            armDiskFault(watching);
            error = errorOf([&] { transaction.commit(&cancel); });
            armDiskFault({});
        }
        EXPECT_LE(afterwards, soon);
        EXPECT_EQ(error, error.empty() ? "" : "Cancelled");
        EXPECT_EQ(verified(), error.empty() ? many : oldContents());
        EXPECT_TRUE(leftovers().empty());
        cancelled = cancel;
        EXPECT_TRUE(cancelled || at > 40U) << "the calls were not counted";
    }
}

TEST_F(StudyArchiveFaultTest, FilesFromAnotherFileSystemAreCopiedWhole) {
    const fs::path incoming = fs::temp_directory_path() / (root.filename().string() + "-incoming");
    struct stat here {};
    struct stat there {};
    fs::create_directories(incoming);
    ASSERT_TRUE(stat(root.c_str(), &here) == 0 && stat(incoming.c_str(), &there) == 0);
    if (here.st_dev != there.st_dev)
        for (const DiskFaultKind& kind : diskFaultKinds)
            sweep(kind, oldContents(), incoming);
    fs::remove_all(incoming);
    if (here.st_dev == there.st_dev)
        GTEST_SKIP() << "no second file system";
}

TEST_F(StudyArchiveFaultTest, APowerCutFindsOnTheDiskWhateverItsNamePromises) {
    const auto calls = [&](const Contents& contents) {
        const auto run =
            runWithDiskFault({.under = root, .trace = true}, [&] { store(contents, root / "incoming"); });
        // Any one transaction's random names read "*".
        static const std::regex suffix("-[0-9a-f]{16}");
        std::vector<std::string> lines;
        std::istringstream text(std::regex_replace(run.call, suffix, "-*"));
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    };
    const std::string final = archive;
    const std::string parent = archive.parent_path();
    const std::string staging = final + ".staging-*";
    const auto expectOrder = [](const std::vector<std::string>& lines, const std::string& first,
                                const std::string& then) {
        const auto one = std::find(lines.begin(), lines.end(), first);
        const auto two = std::find(lines.begin(), lines.end(), then);
        EXPECT_TRUE(one < two && two != lines.end()) << first << " before " << then;
    };
    for (const auto& contents : {oldContents(), newContents()}) {
        const auto lines = calls(contents);
        const std::string manifest = staging + "/archive-manifest.json";
        for (const auto& entry : contents)
            expectOrder(lines, "fdatasync " + staging + "/" + entry.first + ".dcm", "rename " + final);
        expectOrder(lines, "fdatasync " + manifest, "rename " + final);
        expectOrder(lines, "rename " + manifest, "fsync " + staging);
        expectOrder(lines, "fsync " + staging, "rename " + final);
        expectOrder(lines, "rename " + final, "fsync " + parent);
        const bool creates = contents == oldContents();
        for (const fs::path& above : {root, root / "scope", root / "scope" / "1.2"})
            EXPECT_EQ(std::count(lines.begin(), lines.end(), "fsync " + above.string()), creates ? 1 : 0);
        // The earlier copy goes when the new one is safe.
        if (!creates)
            expectOrder(lines, "fsync " + parent, "unlink " + staging + "/a.dcm");
    }
    EXPECT_EQ(verified(), newContents());
}

/// Lets the running process mount what nobody else sees; false where the system does not allow it.
bool ownMounts() {
    const std::string map = "0 " + std::to_string(geteuid()) + " 1";
    if (unshare(CLONE_NEWNS) != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return false;
        std::ofstream("/proc/self/uid_map") << map;
    }
    return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

TEST_F(StudyArchiveFaultTest, ARealDiskThatFillsUpKeepsTheEarlierArchive) {
    fs::create_directories(root / "scope");
    int refused = 0;
    const auto run = runWithDiskFault({}, [&] {
        if (!ownMounts() || mount("tmpfs", (root / "scope").c_str(), "tmpfs", 0, "size=512k") != 0)
            throw std::runtime_error("no mount");
        for (std::size_t room = 0;; room += 4096) {
            store(oldContents());
            struct statvfs disk {};
            statvfs((root / "scope").c_str(), &disk);
            test::writeFile(root / "scope" / "filler", std::string(disk.f_bavail * disk.f_bsize - room, 'f'));
            const std::string error = errorOf([&] { store(newContents()); });
            if (verified() != (error.empty() ? newContents() : oldContents()))
                throw std::runtime_error("lost with " + std::to_string(room) + " bytes free: " + error);
            if (!error.empty() && (!isKnownText(error) || !leftovers().empty()))
                throw std::runtime_error("left something behind: " + error);
            fs::remove(root / "scope" / "filler");
            if (error.empty())
                break;
            ++refused;
        }
        throw std::runtime_error("refused " + std::to_string(refused));
    });
    if (run.exception == "no mount")
        GTEST_SKIP() << "the system lets nobody mount a disk of his own";
    // 70 KB of new files, in steps of 4 KB.
    EXPECT_TRUE(std::regex_match(run.exception, std::regex("refused (1[7-9]|2[0-9])"))) << run.exception;
}

TEST_F(StudyArchiveFaultTest, ADiskThatTurnsReadOnlyKeepsTheEarlierArchiveReadable) {
    store(oldContents());
    const auto run = runWithDiskFault({}, [&] {
        std::optional<StudyArchiveTransaction> transaction = begin();
        test::writeFile(transaction->pathFor("x"), "1");
        transaction->addInstance("x");
        const std::string scope = root / "scope";
        if (!ownMounts() || mount(scope.c_str(), scope.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
            mount(nullptr, scope.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) != 0)
            throw std::runtime_error("no mount");
        const std::string error = errorOf([&] { transaction->commit(); });
        transaction.reset();
        const std::string beginning = errorOf([&] { begin(); });
        const bool moved = StudyArchiveReader::setAside(archive);
        const bool whole = verified() == oldContents();
        throw std::runtime_error(
            error + (moved ? " moved " : " ") + (whole ? "whole " : "lost ") + beginning);
    });
    if (run.exception == "no mount")
        GTEST_SKIP() << "the system lets nobody mount a disk of his own";
    EXPECT_TRUE(std::regex_match(
        run.exception, std::regex("Cannot store study archive instance: /.*/x\\.dcm whole "
                                  "Cannot create study archive parent directory: /.*")))
        << run.exception;
    store(newContents());
    EXPECT_EQ(verified(), newContents());
    EXPECT_TRUE(leftovers().empty());
}

} // namespace

} // namespace zorbel::tests
