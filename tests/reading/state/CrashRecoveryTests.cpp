#include "tests/reading/state/StateFixture.h"
#include "viewer/reading/state/CrashRecovery.h"

#include <nlohmann/json.hpp>

#include <memory>

namespace zorbel::tests {
namespace {

/// One program of the user; one that is destroyed without an end is one that was killed.
struct Program {
    explicit Program(const std::filesystem::path& root, bool previousRunCrashed = true)
        : files(root), recovery(session, recent, previousRunCrashed) {}

    void open(const std::string& uid) {
        EXPECT_EQ(session.studyOpened({.orthancId = "id of " + uid, .studyInstanceUid = uid}), "");
        EXPECT_EQ(recent.recordOpened({.studyInstanceUid = uid, .patientName = "Doe"}), "");
    }
    std::string asksAbout() {
        const auto study = recovery.question();
        return study ? study->studyInstanceUid : std::string();
    }
    void end() { EXPECT_EQ(recovery.endSession(), ""); }

    StateFiles files;
    SessionFile session{files};
    RecentStudiesFile recent{files};
    CrashRecovery recovery;
};

class CrashRecoveryTest : public StateFixture {
protected:
    std::unique_ptr<Program> start(bool previousRunCrashed = true) const {
        return std::make_unique<Program>(root, previousRunCrashed);
    }
    void crashWith(const std::string& study) const { start()->open(study); }
    /// What the next start would ask about, were this the end of all programs.
    std::string left() const { return start()->asksAbout(); }
};

TEST_F(CrashRecoveryTest, whatWasOpenIsAskedAboutUntilItIsAnswered) {
    crashWith("1.1");
    for (int start = 0; start < 2; ++start)
        EXPECT_EQ(left(), "1.1") << "killed before an answer";
    auto program = start();
    const auto study = program->recovery.question();
    ASSERT_TRUE(study);
    EXPECT_EQ(study->patientName, "Doe");
    EXPECT_EQ(program->recovery.decline(*study), "");
    EXPECT_EQ(program->asksAbout(), "");
    program.reset();
    EXPECT_EQ(left(), "");
    EXPECT_EQ(contents("session.json").find("1.1"), std::string::npos);
    EXPECT_EQ(damagedCount(), 0U);
}

TEST_F(CrashRecoveryTest, aProperEndLeavesNothing) {
    auto program = start();
    program->open("1.1");
    program->open("1.2");
    program->end();
    EXPECT_EQ(nlohmann::json::parse(contents("session.json"))["lastStudyInstanceUID"], "");
    EXPECT_EQ(left(), "");
}

TEST_F(CrashRecoveryTest, anAcceptedStudyThatDidNotLoadStaysUntilAProperEnd) {
    crashWith("1.1");
    for (const bool ends : {false, true}) {
        auto program = start();
        program->recovery.accept(*program->recovery.question());
        EXPECT_EQ(program->asksAbout(), "") << "asked once in a session";
        if (ends)
            program->end();
    }
    EXPECT_EQ(left(), "");
}

TEST_F(CrashRecoveryTest, anotherStudyThatIsOpenedFirstPutsTheQuestionOff) {
    crashWith("1.1");
    auto linked = start();
    linked->open("1.2");
    ASSERT_EQ(linked->asksAbout(), "1.1");
    linked->recovery.decline({.studyInstanceUid = "1.2"}); // which is open here, and stays in the file
    linked.reset();
    auto next = start();
    ASSERT_EQ(next->asksAbout(), "1.2") << "the newer one first";
    next->recovery.decline(*next->recovery.question());
    EXPECT_EQ(next->asksAbout(), "1.1");
    next->end();
    EXPECT_EQ(left(), "1.1") << "nobody answered";
    next->open("1.1");
    next->end();
    EXPECT_EQ(left(), "") << "it was opened";
}

TEST_F(CrashRecoveryTest, eachOfSeveralProgramsIsRecoverableAndNoLivingOne) {
    auto first = start();
    auto second = start();
    first->open("1.1");
    second->open("1.2");
    EXPECT_EQ(left(), "");
    second.reset();
    EXPECT_EQ(left(), "1.2");
    first->open("1.3");
    start()->recovery.decline({.studyInstanceUid = "1.2"});
    first.reset();
    EXPECT_EQ(left(), "1.3");
}

TEST_F(CrashRecoveryTest, ofAnOlderVersionsFileTheSessionLockTellsWhetherItsProgramDied) {
    const auto older = R"({"lastStudyInstanceUID": "1.1", "lastOrthancId": "7", "savedAt": "then"})";
    put("session.json", older);
    ASSERT_EQ(start(true)->recovery.question(), (StudyIdentity{.orthancId = "7", .studyInstanceUid = "1.1"}));
    EXPECT_EQ(start(false)->asksAbout(), "");
    EXPECT_EQ(left(), "") << "forgotten: its program ended properly";
    for (const char* none : {"[]", "{", R"({"lastStudyInstanceUID": "../x", "others": [7, {}]})"}) {
        put("session.json", none);
        EXPECT_EQ(left(), "") << none;
    }
}

} // namespace
} // namespace zorbel::tests
