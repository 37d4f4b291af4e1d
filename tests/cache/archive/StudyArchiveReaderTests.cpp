#include "tests/cache/archive/ArchiveFixture.h"

#include "platform/FileLock.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <optional>

#include <sys/stat.h>

namespace zorbel::tests {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class StudyArchiveReaderTest : public ArchiveFixture {
protected:
    fs::path manifest() const { return archive / "archive-manifest.json"; }
    fs::path file(const std::string& id) const { return archive / (id + ".dcm"); }
    fs::path beside(const std::string& suffix) const { return archive.string() + suffix; }
};

TEST_F(StudyArchiveReaderTest, EveryDamageOfTheFilesIsFound) {
    std::vector<std::function<void()>> damages{
        [&] { test::writeFile(file("a"), "first, olD"); },
        [&] { test::writeFile(file("a"), "first, old and longer"); },
        [&] { fs::resize_file(file("b"), 69'999); }, [&] { test::writeFile(file("c"), ""); },
        [&] {
            fs::rename(file("a"), root / "x");
            fs::rename(file("b"), file("a"));
            fs::rename(root / "x", file("b"));
        }};
    for (const fs::path& path : {file("a"), manifest()}) {
        // In its place: nothing, a folder, a pipe, and a link, even one that leads to the right bytes.
        const auto inItsPlace = [&](const std::function<void()>& put) {
            damages.push_back([=, this] {
                fs::rename(path, root / "x");
                put();
            });
        };
        inItsPlace([] {});
        inItsPlace([=] { fs::create_directory(path); });
        inItsPlace([=] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); });
        inItsPlace([=, this] { fs::create_symlink(root / "x", path); });
    }
    int number = 0;
    for (const auto& damage : damages) {
        SCOPED_TRACE("damage " + std::to_string(number++));
        fs::remove_all(archive);
        store(oldContents());
        ASSERT_EQ(verified(), oldContents());
        damage();
        const auto result = verify();
        EXPECT_EQ(result.state, State::Damaged);
        EXPECT_FALSE(result.reason.empty());
        EXPECT_EQ(result.reason.find(root.string()), std::string::npos) << result.reason;
        EXPECT_TRUE(result.series.instances.empty());
    }
}

TEST_F(StudyArchiveReaderTest, EveryDamageOfTheManifestIsFound) {
    store(oldContents());
    const json good = json::parse(test::readFile(manifest()));
    const auto isDamaged = [&](const std::string& text) {
        test::writeFile(manifest(), text);
        const auto described = StudyArchiveReader::describe(archive, "1.2", "1.2.3");
        EXPECT_EQ(described.reason.find('{'), std::string::npos) << described.reason;
        return described.state == State::Damaged && !described.reason.empty() &&
               described.series.instances.empty() && verify().state == State::Damaged;
    };
    // Every member in turn is absent, or of another type, or holds what it must not.
    json strange = json::parse(
        R"([null, true, -1, 0, 1.5, "", [], {}, [[]], "../x", "a.b", "1.2.3.4", "zorbel-study-archive.v1"])");
    strange.push_back(std::string(63, 'a') + ".");
    std::vector<json::json_pointer> members;
    const json flat = good.flatten();
    for (const auto& item : flat.items())
        members.emplace_back(item.key());
    for (const char* container : {"", "/instances", "/instances/0"})
        members.emplace_back(container);
    ASSERT_EQ(members.size(), 15U);
    for (const auto& member : members) {
        for (const json& value : strange) {
            json changed = good;
            changed[member] = value;
            EXPECT_TRUE(isDamaged(changed.dump())) << member << " = " << value;
        }
        if (member.empty())
            continue;
        json changed = good;
        if (changed[member.parent_pointer()].is_object()) {
            changed[member.parent_pointer()].erase(member.back());
            EXPECT_TRUE(isDamaged(changed.dump())) << "without " << member;
        }
    }
    json changed = good;
    changed["instances"][1] = changed["instances"][0];
    EXPECT_TRUE(isDamaged(changed.dump())) << "repeated identifier";
    for (const auto& digest : {std::string(63, 'a'), std::string(64, 'A')}) {
        changed = good;
        changed["instances"][1]["sha256"] = digest;
        EXPECT_TRUE(isDamaged(changed.dump())) << digest;
    }
    changed = good;
    changed["more"] = 1;
    EXPECT_TRUE(isDamaged(changed.dump())) << "unknown member";
    const std::string text = good.dump(2);
    EXPECT_TRUE(isDamaged(text.substr(0, text.size() / 2)));
    EXPECT_TRUE(isDamaged(text + "{}"));
    EXPECT_TRUE(isDamaged("{\"version\": \"zorbel-study-archive.v2\"," + text.substr(1)))
        << "repeated member";
    EXPECT_TRUE(isDamaged("")) << "empty";
    EXPECT_TRUE(isDamaged("\xFF\xFE{}"));
    EXPECT_TRUE(isDamaged(std::string(50'000'000, '['))) << "nesting";
    EXPECT_TRUE(isDamaged(R"({"instances":)" + std::string(50'000'000, '[')));
    EXPECT_TRUE(isDamaged(text + std::string(100'000'000, ' '))) << "too large";
    fs::resize_file(manifest(), 1ULL << 40U); // sparse
    EXPECT_EQ(verify().state, State::Damaged);

    test::writeFile(manifest(), text);
    EXPECT_EQ(verify().state, State::Verified);
    EXPECT_EQ(StudyArchiveReader::verify(archive, "1.2", "1.2.4").state, State::Damaged);
    EXPECT_EQ(StudyArchiveReader::verify(archive, "1.3", "1.2.3").state, State::Damaged);
}

TEST_F(StudyArchiveReaderTest, ListsWhatTheManifestListsAndStopsWhenCancelled) {
    EXPECT_EQ(verify().state, State::Missing);
    EXPECT_FALSE(fs::exists(root / "scope")) << "a look leaves no trace";
    store(oldContents());
    test::writeFile(file("extra"), "not listed");
    EXPECT_EQ(verified(), oldContents());

    std::atomic<bool> cancel = true;
    EXPECT_EQ(StudyArchiveReader::verify(archive, "1.2", "1.2.3", &cancel).state, State::Described);
    cancel = false;
    const auto result = StudyArchiveReader::verify(archive, "1.2", "1.2.3", &cancel);
    EXPECT_EQ(result.state, State::Verified);
    EXPECT_EQ(result.series.files(), (std::vector{file("a"), file("b"), file("c")}));
}

TEST_F(StudyArchiveReaderTest, TheCopyOfAKilledWriterIsPutBackByTheNextReaderOrWriter) {
    for (const bool byWriter : {false, true}) {
        fs::remove_all(root / "scope");
        store(oldContents());
        fs::rename(archive, beside(".replaced-0"));
        fs::create_directories(beside(".staging-0") / "half");
        fs::create_directories(root / "newer");
        fs::last_write_time(root / "newer", fs::file_time_type::clock::now() + std::chrono::hours(1));
        fs::create_directory_symlink(root / "newer", beside(".replaced-link"));
        {
            const auto living = FileLock::tryAcquire(beside(".lock"));
            ASSERT_TRUE(living);
            EXPECT_EQ(verify().state, State::Missing);
            EXPECT_EQ(leftovers().size(), 3U) << "nothing of a living writer is touched";
            EXPECT_FALSE(StudyArchiveReader::setAside(archive));
        }
        if (byWriter)
            begin();
        else
            EXPECT_EQ(StudyArchiveReader::describe(archive, "1.2", "1.2.3").state, State::Described);
        EXPECT_EQ(verified(), oldContents());
        EXPECT_TRUE(leftovers().empty());
    }
}

TEST_F(StudyArchiveReaderTest, WhatIsSetAsideStaysUntilANewCopyIsThere) {
    EXPECT_TRUE(StudyArchiveReader::setAside(archive));
    for (const char* contents : {"first", "second"}) {
        store({{"a", contents}});
        test::writeFile(file("a"), "?");
        ASSERT_EQ(verify().state, State::Damaged);
        EXPECT_TRUE(StudyArchiveReader::setAside(archive));
        EXPECT_EQ(verify().state, State::Missing);
        ASSERT_EQ(leftovers().size(), 1U);
        EXPECT_EQ(leftovers().begin()->find("1.2.3.damaged-"), 0U);
    }
    { auto abandoned = begin(); }
    EXPECT_EQ(leftovers().size(), 1U) << "not before there is a new one";
    store(newContents());
    EXPECT_TRUE(leftovers().empty());
    EXPECT_EQ(verified(), newContents());
}

} // namespace

} // namespace zorbel::tests
