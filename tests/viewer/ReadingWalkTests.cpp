// A reader's sessions as a random walk: edits, other series, other studies, a disk that fails for a while,
// and kills. Each session is a process of its own.
#include "tests/faults/DiskFaults.h"
#include "tests/reading/state/StateFixture.h"
#include "viewer/reading/records/MeasurementRecords.h"
#include "viewer/reading/state/RecordLists.h"
#include "viewer/session/ReadingSession.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <future>
#include <random>

#include <fcntl.h>
#include <sys/wait.h>

namespace zorbel::tests {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t studyCount = 3;
constexpr int seriesCount = 3;
constexpr std::size_t kindCount = 4; ///< all but key images, which are written with each capture
/// A number for what is recorded of each kind.
using Recorded = std::array<std::size_t, kindCount>;
using Studies = std::array<Recorded, studyCount>;

std::string studyUid(std::size_t study) {
    return "1.2." + std::to_string(study);
}

/// Without which series was shown last, and those that were shown only: nothing was recorded of them.
Recorded recorded(
    const StudyHanging& hangings, const FindingList& findings, const std::vector<Measurement>& measurements) {
    ReadingPosition position;
    StudyHanging changed;
    for (auto [key, hanging] : hangings.series) {
        if (const auto planes = std::exchange(hanging.planes, std::nullopt))
            position.series[key] = *planes;
        if (hanging != HangingProtocol())
            changed.series[key] = hanging;
    }
    const std::hash<std::string> hash;
    return {
        hash(readingPositionText(position)), hash(hangingProtocolText(changed)), hash(findingsText(findings)),
        hash(MeasurementRecords::toJson(measurements))};
}

/// One session, which ends its process. It notes what is recorded before it is handed on to be written
/// ("recorded PLACE NUMBER": the place is one kind of one study), and when nothing waits to be written any
/// more ("written").
class Reader {
public:
    enum class End { Killed, KilledInACall, Closed };

    Reader(const fs::path& root, unsigned seed, const Studies& before, const fs::path& notes)
        : root_(root), random_(seed), known_(before),
          notes_(open(notes.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600)) {
        arm({});
        session_ = std::make_unique<ReadingSession>(root, false);
        QObject::connect(
            session_.get(), &ReadingSession::unsavedChanged, [this](const QString& text) { told_ = text; });
    }

    [[noreturn]] void read(End end) {
        openStudy();
        for (unsigned steps = 40 + random_() % 40; steps > 0; --steps)
            step();
        if (end == End::Killed)
            kill(getpid(), SIGKILL);
        if (broken_)
            breakOrMend();
        if (end == End::KilledInACall) {
            finish();
            arm({.at = 1 + random_() % 20});
        }
        for (edit(); end == End::KilledInACall; edit())
            finish();
        session_.reset();
        note("written");
        _exit(0);
    }

private:
    void step() {
        const auto choice = random_() % 100;
        if (choice < 8)
            showSeries();
        else if (choice < 16)
            openStudy();
        else if (choice < 20)
            breakOrMend();
        else if (choice == 20 && !broken_)
            waitFor([this] { return session_->isAllWritten(); }); // without being asked to
        else
            edit();
        if (choice % 2 == 0)
            usleep(static_cast<unsigned>(random_() % 10000));
        QCoreApplication::processEvents();
        if (session_->isAllWritten())
            note("written");
    }
    void openStudy() {
        if (random_() % 4 == 0)
            session_->close();
        const std::size_t study = random_() % studyCount;
        reading_.reset();
        session_->open({.studyInstanceUid = studyUid(study)}, [this](auto opened) { reading_ = opened; });
        waitFor([this] { return reading_ != nullptr; });
        require(recordedIn(*reading_) == known_[study], "a study is not as it was left");
        watches_.push_back(reading_->observe([this, study, reading = reading_.get()](StudyReading::Change) {
            const Recorded now = recordedIn(*reading);
            for (std::size_t kind = 0; kind < kindCount; ++kind)
                if (now[kind] != known_[study][kind])
                    note(
                        "recorded " + std::to_string(study * kindCount + kind) + " " +
                        std::to_string(now[kind]));
            known_[study] = now;
        }));
        showSeries();
        session_->shown(reading_);
    }
    void showSeries() {
        StudySeries series;
        series.key = "1.9." + std::to_string(random_() % seriesCount);
        reading_->show(series);
    }
    void edit() {
        const double number = 1.0 + static_cast<double>(random_()) / 8.0;
        MeasurementList& list = reading_->measurements();
        const auto choice = random_() % 9;
        if (choice < 3 && (choice == 0 || list.measurements().empty())) {
            Measurement drawn;
            drawn.points = {{number, 0, 0}, {0, number, -0.1}};
            drawn.seriesInstanceUid = reading_->shown().key;
            list.add(drawn);
        } else if (choice < 3) {
            Measurement chosen = list.measurements()[random_() % list.measurements().size()];
            chosen.points[0][2] = number;
            choice == 1 ? list.replace(chosen) : list.remove(chosen.id);
        } else if (choice == 3) {
            reading_->setFindings(sampleFindings(std::to_string(number)));
        } else {
            reading_->editHanging([&](HangingProtocol& hanging) {
                if (choice == 4)
                    hanging.window = HangingProtocol::Window{number, -number};
                else if (choice == 5)
                    hanging.slabHalfSlices = 1 + hanging.slabHalfSlices % HangingProtocol::mostSlabHalfSlices;
                else if (choice == 6)
                    hanging.planes = samplePosition("1.2", number).series.begin()->second;
                else if (choice == 7)
                    hanging.framings[static_cast<int>(random_() % 4)] = {0.5, {number, 0, 0}};
                else
                    hanging.tool = static_cast<Tool>((static_cast<int>(hanging.tool) + 1) % 11);
            });
        }
    }
    void breakOrMend() {
        const bool written = finish();
        broken_ = !broken_;
        if (broken_) {
            constexpr int errors[] = {ENOSPC, EIO, EROFS};
            const bool lasting = random_() % 3 != 0;
            arm({.at = 1 + random_() % 12, .error = errors[random_() % 3], .lasting = lasting});
            return;
        }
        note(written ? "harmless" : "failed");
        arm({});
        require(finish(), "what a fault had kept back was not written after its end");
    }
    /// While nothing is written. A slow disk, so that there are edits and kills while it works.
    void arm(DiskFault fault) const {
        fault.under = root_;
        fault.watch = [](const std::string&, const std::string&) { usleep(300); };
        armDiskFault(fault);
    }
    /// Whether all is written; afterwards nobody writes.
    bool finish() {
        std::optional<QString> left;
        session_->finish([&](const QString& text) { left = text; });
        waitFor([&] { return left.has_value(); });
        require(left->isEmpty() == told_.isEmpty(), "the reader was told: " + told_.toStdString());
        require(!left->isEmpty() || session_->isAllWritten(), "the reader was not told of what is left");
        return left->isEmpty();
    }

    static Recorded recordedIn(const StudyReading& reading) {
        return recorded(reading.hangings(), reading.findings(), reading.measurements().measurements());
    }
    template <class Condition>
    static void waitFor(const Condition& holds) {
        for (QCoreApplication::processEvents(); !holds(); QCoreApplication::processEvents())
            usleep(100);
    }
    void note(const std::string& text) const {
        if (write(notes_, (text + "\n").c_str(), text.size() + 1) < 0)
            _exit(2);
    }
    void require(bool holds, const std::string& fault) const {
        if (!holds) {
            note(fault);
            _exit(1);
        }
    }

    const fs::path root_;
    std::mt19937 random_;
    Studies known_; ///< as it was recorded last
    const int notes_;
    QString told_;
    bool broken_ = false;
    std::unique_ptr<ReadingSession> session_;
    std::shared_ptr<StudyReading> reading_;
    std::vector<StudyReading::Subscription> watches_; ///< told before the session is
};

class ReadingWalkTest : public StateFixture {
protected:
    static StoredReading loaded(ReadingSaver& saver, const std::string& study) {
        const auto reading = std::make_shared<std::promise<StoredReading>>();
        saver.load(study, [reading](StoredReading found) { reading->set_value(std::move(found)); });
        return reading->get_future().get();
    }
    StoredReading stored(const std::string& study) const {
        ReadingSaver saver(root, true, {});
        return loaded(saver, study);
    }
    Studies found() const {
        Studies studies;
        for (std::size_t study = 0; study < studyCount; ++study) {
            const StoredReading reading = stored(studyUid(study));
            studies[study] = recorded(reading.hanging, reading.findings, reading.measurements);
        }
        return studies;
    }
    static std::vector<ReadingSaver::Unsaved> flush(ReadingSaver& saver) {
        const auto report = std::make_shared<std::promise<ReadingSaver::Report>>();
        saver.flush([report](const ReadingSaver::Report& said) { report->set_value(said); });
        return report->get_future().get().failing;
    }
    /// Whether the session was killed.
    bool hold(Reader::End end, unsigned seed, const Studies& before) const {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            int count = 0;
            const QCoreApplication application(count, nullptr);
            Reader(root, seed, before, notes).read(end);
        }
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        const bool killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        const std::string noted = test::readFile(notes);
        EXPECT_TRUE(killed || status == 0) << noted.substr(noted.rfind('\n', noted.size() - 2) + 1);
        return killed;
    }

    const fs::path notes = temporary.path() / "notes";
};

TEST_F(ReadingWalkTest, everyNextStartFindsWhatWasRecordedSinceAllWasWritten) {
    std::mt19937 random(20261122);
    Studies before = found();
    int edits = 0;
    int kills = 0;
    int faults = 0;
    for (int run = 0; edits < 1000; ++run) {
        kills += hold(static_cast<Reader::End>(run % 3), random(), before);
        ASSERT_FALSE(HasFailure()) << "session " << run;
        // What may be found in each place; the last is what was recorded last.
        std::array<std::vector<std::size_t>, studyCount * kindCount> possible;
        for (std::size_t place = 0; place < possible.size(); ++place)
            possible[place] = {before[place / kindCount][place % kindCount]};
        std::ifstream words(notes);
        std::size_t place = 0;
        std::size_t number = 0;
        for (std::string word; words >> word;) {
            faults += word == "failed";
            if (word == "recorded" && words >> place >> number) {
                possible.at(place).push_back(number);
                ++edits;
            } else if (word == "written") {
                for (auto& numbers : possible)
                    numbers = {numbers.back()};
            }
        }
        before = found();
        for (place = 0; place < possible.size(); ++place) {
            number = before[place / kindCount][place % kindCount];
            ASSERT_NE(std::ranges::find(possible[place], number), possible[place].end())
                << "session " << run << ", place " << place;
        }
    }
    EXPECT_EQ(damagedCount(), 0U);
    EXPECT_GT(kills, 0);
    EXPECT_GT(faults, 0);
}

TEST_F(ReadingWalkTest, whatTheDiskRefusesIsKeptAndToldUntilItIsWritten) {
    StudyHanging hanging = sampleHanging();
    hanging.series["1.9"].planes = samplePosition("1.3").series["1.9"];
    const std::vector<ReadingSaver::Unsaved> both{
        {uid, {StateKind::Findings}}, {"1.3", {StateKind::ReadingPosition, StateKind::HangingProtocol}}};
    for (const bool atTheEnd : {false, true}) {
        fs::remove_all(folder);
        {
            ReadingSaver saver(root, false, {});
            armDiskFault({.at = 1, .error = EIO, .lasting = true, .under = root});
            saver.save(uid, "CT", sampleFindings("earlier"));
            saver.save("1.3", "CT", hanging);
            EXPECT_EQ(flush(saver), both);
            saver.save(uid, "CT", sampleFindings("later"));
            EXPECT_EQ(flush(saver), both);
            EXPECT_EQ(saver.unsaved(), both);
            armDiskFault({});
            if (!atTheEnd) {
                EXPECT_EQ(loaded(saver, uid).findings, sampleFindings("later"));
                EXPECT_TRUE(saver.unsaved().empty());
            }
        }
        EXPECT_EQ(stored(uid).findings, sampleFindings("later"));
        EXPECT_EQ(stored("1.3").hanging, hanging);
    }
}

} // namespace
} // namespace zorbel::tests
