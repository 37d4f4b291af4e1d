#include "benchmarks/PauseBench.h"

#include "benchmarks/BenchGround.h"
#include "benchmarks/Statistics.h"
#include "benchmarks/StudyOpening.h"
#include "cache/archive/StudyArchiveTransaction.h"
#include "tests/faults/DiskFaults.h"
#include "viewer/measuring/MeasurementController.h"
#include "viewer/session/ReadingSession.h"

#include <nlohmann/json.hpp>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPixmap>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <functional>
#include <future>
#include <iomanip>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace zorbel::bench {

namespace fs = std::filesystem;

namespace {

constexpr double pauseGoalMs = 16.0;
constexpr int pauseRuns = 5;
constexpr int leastEdits = 500;
constexpr int editEveryMs = 8; ///< as often as a mouse tells of its way
constexpr int beatEveryMs = 1;
constexpr int editsPerDrag = 10;
constexpr int editsPerCapture = 100;
constexpr int lines = 25;
constexpr std::chrono::milliseconds diskCallTakes{30};
constexpr int instances = 100;
constexpr std::size_t instanceBytes = 512 * 1024;
constexpr char studyUid[] = "1.2.3";
constexpr char seriesUid[] = "1.2.3.4";

/// Draws measurements and then drags their ends to and fro, moving the window all the while, so that every
/// step changes what is to be saved; now and then a picture is taken.
class Reader {
public:
    Reader(ReadingSession& session, std::shared_ptr<StudyReading> reading)
        : session_(session), reading_(std::move(reading)), picture_(1024, 768) {
        picture_.fill(Qt::darkGray);
        view_.width = view_.height = 1000.0;
        view_.toWidget = [](const imaging::Vector3& point) { return Point2{point[0], point[1]}; };
        view_.fromWidget = [](const Point2& at) { return imaging::Vector3{at.x, at.y, 0.0}; };
        hand_.setReading(reading_);
        hand_.setTool(Tool::Length);
    }

    int edits() const { return edits_; }
    void edit() {
        const int part = edits_ % editsPerDrag;
        const int line = edits_ / editsPerDrag % lines;
        const int round = edits_ / editsPerDrag / lines;
        const double y = 20.0 + 30.0 * line;
        const double from = round == 0 ? 20.0 : endOf(round - 1);
        const double x = std::lerp(from, endOf(round), static_cast<double>(part) / (editsPerDrag - 1));
        if (part == 0)
            hand_.press(view_, {x, y});
        hand_.move(view_, {x, y});
        if (part == editsPerDrag - 1)
            hand_.release(view_, {x, y});
        reading_->editHanging([&](HangingProtocol& hanging) {
            hanging.window = HangingProtocol::Window{1000.0 + edits_, x};
        });
        if (++edits_ % editsPerCapture == 0)
            session_.addKeyImage(picture_, "Axial");
    }

private:
    static double endOf(int round) { return 220.0 + 60.0 * (round % 2); }

    ReadingSession& session_;
    std::shared_ptr<StudyReading> reading_;
    QPixmap picture_;
    MeasurementView view_;
    MeasurementController hand_;
    int edits_ = 0;
};

struct SlowCalls {
    std::atomic<int> all = 0;
    std::atomic<int> onInterface = 0;
};

/// Every call under the folder that changes something takes its time, whoever makes it; while this lives.
class SlowDisk {
public:
    SlowDisk(const fs::path& folder, SlowCalls& calls) {
        tests::DiskFault fault;
        fault.under = folder.string();
        fault.watch = [&calls, interface = std::this_thread::get_id()](const auto&, const auto&) {
            ++calls.all;
            if (std::this_thread::get_id() == interface)
                ++calls.onInterface;
            std::this_thread::sleep_for(diskCallTakes);
        };
        tests::armDiskFault(fault);
    }
    ~SlowDisk() { tests::armDiskFault({}); }
    SlowDisk(const SlowDisk&) = delete;
    SlowDisk& operator=(const SlowDisk&) = delete;
};

void writeDownload(const fs::path& folder) {
    fs::create_directories(folder);
    const std::string bytes(instanceBytes, 'x');
    for (int index = 0; index < instances; ++index)
        if (!(std::ofstream(folder / std::to_string(index), std::ios::binary) << bytes << std::flush))
            throw std::runtime_error("Cannot write " + folder.string());
}

void archive(const fs::path& download, const fs::path& archiveFolder) {
    auto transaction =
        StudyArchiveTransaction::begin(archiveFolder, studyUid, seriesUid, std::chrono::seconds(10));
    for (int index = 0; index < instances; ++index)
        transaction.adopt("instance-" + std::to_string(index), download / std::to_string(index));
    transaction.commit();
}

std::shared_ptr<StudyReading> openReading(ReadingSession& session) {
    StudyIdentity study;
    study.studyInstanceUid = studyUid;
    study.modality = "CT";
    std::shared_ptr<StudyReading> opened;
    session.open(study, [&](std::shared_ptr<StudyReading> reading) { opened = std::move(reading); });
    waitUntil([&] { return opened != nullptr; }, "the reading");
    StudySeries series;
    series.key = seriesUid;
    series.modality = "CT";
    series.kind = ImageKind::Volume;
    opened->show(series);
    session.shown(opened);
    return opened;
}

/// Of the thread that makes it: how long it computed, and how long it could have but no core was free;
/// milliseconds since its start.
class ThreadTimes {
public:
    ThreadTimes() = default;
    ~ThreadTimes() { close(file_); }
    ThreadTimes(const ThreadTimes&) = delete;
    ThreadTimes& operator=(const ThreadTimes&) = delete;

    double busy() const {
        timespec computed{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &computed);
        char text[64] = "";
        long long waited = 0;
        if (pread(file_, text, sizeof text - 1, 0) <= 0 || std::sscanf(text, "%*d %lld", &waited) != 1)
            throw std::runtime_error("Cannot read how long the thread waited for a core");
        return static_cast<double>(computed.tv_sec) * 1e3 +
               static_cast<double>(computed.tv_nsec + waited) / 1e6;
    }

private:
    int file_ = open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC);
};

/// From one moment at which the event loop answered to the next, milliseconds.
struct Pauses {
    double longest = 0.0;
    /// Neither computing nor for want of a core: what the loop's own rest and every wait come to.
    double longestSleep = 0.0;
};

/// Runs the event loop with a reader at work for as long as `goesOn`.
Pauses pausesOf(Reader& reader, const std::function<bool()>& goesOn) {
    QTimer hand;
    hand.setTimerType(Qt::PreciseTimer);
    QObject::connect(&hand, &QTimer::timeout, [&reader] { reader.edit(); });
    Pauses pauses;
    const ThreadTimes times;
    double busy = times.busy();
    QElapsedTimer sinceBeat;
    QTimer heart;
    heart.setTimerType(Qt::PreciseTimer);
    QEventLoop loop;
    QObject::connect(&heart, &QTimer::timeout, [&] {
        const double pause = static_cast<double>(sinceBeat.nsecsElapsed()) / 1e6;
        sinceBeat.start();
        const double now = times.busy();
        pauses.longest = std::max(pauses.longest, pause);
        pauses.longestSleep = std::max(pauses.longestSleep, pause - (now - std::exchange(busy, now)));
        if (reader.edits() >= leastEdits && !goesOn())
            loop.quit();
    });
    hand.start(editEveryMs);
    sinceBeat.start();
    heart.start(beatEveryMs);
    loop.exec();
    return pauses;
}

void finish(ReadingSession& session) {
    std::optional<QString> left;
    session.finish([&left](const QString& text) { left = text; });
    waitUntil([&left] { return left.has_value(); }, "the end of saving");
    if (!left->isEmpty())
        throw std::runtime_error("Not saved: " + left->toStdString());
}

Pauses onSlowDisk(const fs::path& folder, SlowCalls& calls) {
    fs::remove_all(folder);
    writeDownload(folder / "download");
    const SlowDisk slow(folder, calls);
    ReadingSession session(folder / "state", false);
    Reader reader(session, openReading(session));
    auto archived =
        std::async(std::launch::async, [&] { archive(folder / "download", folder / "archive" / seriesUid); });
    const Pauses pauses = pausesOf(reader, [&archived] {
        return archived.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
    });
    archived.get();
    finish(session);
    return pauses;
}

Pauses inMemory() {
    ReadingSession session({}, false);
    Reader reader(session, openReading(session));
    const Pauses pauses = pausesOf(reader, [] { return false; });
    finish(session);
    return pauses;
}

} // namespace

nlohmann::json pauseChild(int argc, char** argv, const fs::path& folder) {
    const QApplication application(argc, argv);
    SlowCalls calls;
    double longestSleep = 0.0;
    const PairedMedians taken = medianInTurn(
        pauseRuns,
        [&] {
            const Pauses pauses = onSlowDisk(folder, calls);
            longestSleep = std::max(longestSleep, pauses.longestSleep);
            return pauses.longest;
        },
        [] { return inMemory().longest; });
    return {
        {"slow", taken.ours},
        {"memory", taken.reference},
        {"sleep", longestSleep},
        {"calls", calls.all.load() / (pauseRuns + 1)},
        {"onInterface", calls.onInterface.load()}};
}

std::vector<BenchRow> measurePause(BenchGround& ground) {
    const auto result = measureInChild(
        {QStringLiteral("pause"), QString::fromStdString((ground.folder() / "pause").string())});
    BenchRow row = boundedRow(pauseRowName, "ms", result.at("slow").get<double>(), pauseGoalMs);
    std::ostringstream note;
    note << "the user-interface thread while measurements are dragged and saved, 125 changes a second, and "
         << instances << " instances are archived beside it; some " << result.at("calls").get<int>()
         << " calls that change the disk take " << diskCallTakes.count() << " ms each, "
         << result.at("onInterface").get<int>() << " of them on that thread. The longest without any disk is "
         << std::fixed << std::setprecision(1) << result.at("memory").get<double>()
         << " ms. Of every pause the thread slept " << result.at("sleep").get<double>()
         << " ms at most; the rest is computing and, on a busy machine, waiting for a free core";
    row.note = note.str();
    return {row};
}

} // namespace zorbel::bench
