#include "benchmarks/ReadingBench.h"

#include "app/Application.h"
#include "benchmarks/BenchGround.h"
#include "benchmarks/ReadingDriver.h"
#include "benchmarks/Statistics.h"
#include "benchmarks/StudyOpening.h"
#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/window/MainWindow.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QEvent>

#include <map>
#include <memory>
#include <stdexcept>

namespace zorbel::bench {

namespace {

constexpr int startRuns = 11;
constexpr int readingRuns = 3;
constexpr int scrollSteps = 60;
constexpr int turningSteps = 24;
constexpr int restingFrames = 3;

constexpr char startName[] = "Start to visible sign-in dialog";

struct Study {
    const char* key;
    const char* title;
    const char* rowText;
};
constexpr Study studies[] = {{"jaw", "jaw phantom", "Jaw"}, {"bench", "400 slices", "Bench"}};

struct Stage {
    const char* key;
    const char* title;
};
constexpr Stage totalStage{"total", "double-click to all planes drawn"};
constexpr Stage stages[] = {
    {"list", "series list"},
    {"download", "download"},
    {"decode", "analyse and decode"},
    {"planes", "first frame of all planes"},
    totalStage,
    {"volume", "double-click to 3D picture ready"}};

constexpr Stage frames[] = {
    {"axialView", "One frame while scrolling, axial"},
    {"coronalView", "One frame while scrolling, coronal"},
    {"sagittalView", "One frame while scrolling, sagittal"},
    {"scrollStep", "One step of scrolling until it is drawn"},
    {"turning", "One 3D frame while turning"},
    {"resting", "One 3D frame at rest"}};

std::string openingName(const Study& study, const Stage& stage) {
    return std::string("Opening ") + study.title + ": " + stage.title;
}

std::string noteFor(const std::string& rowName) {
    if (rowName == openingName(studies[0], totalStage))
        return "the first study of a fresh process; median of three such processes";
    if (rowName == openingName(studies[1], totalStage))
        return "the second study of the process";
    if (rowName == frames[0].title)
        return "frames are of the 400 slices in the window's usual size, until the graphics card has "
               "finished them";
    return {};
}

/// Notes when the sign-in dialog has been painted, and closes it.
class FirstPaint : public QObject {
public:
    double milliseconds() const { return milliseconds_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* dialog = qobject_cast<QDialog*>(watched);
        if (event->type() == QEvent::Paint && dialog && !seen_ &&
            dialog->objectName() == QStringLiteral("zorbelLoginDialog")) {
            seen_ = true;
            // The fields in it are painted, and the picture handed to the screen, before the next event.
            QMetaObject::invokeMethod(
                dialog,
                [this, dialog] {
                    const long long started = qEnvironmentVariable(startedVariable).toLongLong();
                    milliseconds_ = static_cast<double>(monotonicNanoseconds() - started) / 1e6;
                    dialog->reject();
                },
                Qt::QueuedConnection);
        }
        return false;
    }

private:
    bool seen_ = false;
    double milliseconds_ = 0.0;
};

int runProgramWith(const std::function<void(QApplication&)>& ready) {
    char name[] = "zorbel-desktop";
    char* arguments[] = {name, nullptr};
    int count = 1;
    return runApplication(count, arguments, std::nullopt, ready);
}

nlohmann::json asStages(const OpeningTimes& times) {
    return {
        {"list", times.listed},
        {"download", times.downloaded - times.listed},
        {"decode", times.decoded - times.downloaded},
        {"planes", times.drawn - times.decoded},
        {"total", times.drawn},
        {"volume", times.volume}};
}

/// Runs the event loop until the view has drawn what `change` asked for; milliseconds until then.
double drawAfter(imaging::RenderWindowWidget& view, const std::function<void()>& change) {
    bool drawn = false;
    QObject connection;
    QObject::connect(
        &view, &imaging::RenderWindowWidget::frameRendered, &connection, [&drawn] { drawn = true; });
    QElapsedTimer clock;
    clock.start();
    change();
    waitUntil([&drawn] { return drawn; }, "a new frame");
    return static_cast<double>(clock.nsecsElapsed()) / 1e6;
}

void measureScrolling(MainWindow& window, nlohmann::json& result) {
    std::vector<double> steps;
    for (const char* name : {"axialView", "coronalView", "sagittalView"}) {
        auto* view = window.findChild<imaging::PlaneView*>(QString::fromLatin1(name));
        if (!view)
            throw std::runtime_error(std::string("The viewer has no ") + name);
        std::vector<double> taken;
        for (int step = 0; step < scrollSteps; ++step) {
            steps.push_back(drawAfter(*view, [view] { view->navigation().step(1); }));
            taken.push_back(view->lastFrameMilliseconds());
        }
        result[name] = median(std::move(taken));
    }
    result["scrollStep"] = median(std::move(steps));
}

void measureTurning(MainWindow& window, nlohmann::json& result) {
    auto* view = window.findChild<imaging::VolumeView*>();
    if (!view || !view->isReady())
        throw std::runtime_error("The 3D view has no picture");
    std::vector<double> turning;
    std::vector<double> resting;
    for (int rest = 0; rest < restingFrames; ++rest) {
        for (int step = 0; step < turningSteps / restingFrames; ++step) {
            drawAfter(*view, [view] { view->rotateBy(5.0, 1.0); });
            turning.push_back(view->lastFrameMilliseconds());
        }
        bool still = false;
        QObject connection;
        QObject::connect(
            view, &imaging::VolumeView::stillFrameRendered, &connection, [&still] { still = true; });
        waitUntil([&still] { return still; }, "a 3D frame at rest");
        resting.push_back(view->stillMilliseconds());
    }
    result["turning"] = median(std::move(turning));
    result["resting"] = median(std::move(resting));
}

nlohmann::json measureWindow(MainWindow& window) {
    nlohmann::json result;
    for (const Study& study : studies)
        result[study.key] = asStages(openStudy(window, QString::fromLatin1(study.rowText)));
    measureScrolling(window, result["frames"]);
    measureTurning(window, result["frames"]);
    return result;
}

} // namespace

std::vector<std::string> startRowNames() {
    return {startName};
}

nlohmann::json startChild() {
    FirstPaint firstPaint;
    runProgramWith([&firstPaint](QApplication& application) { application.installEventFilter(&firstPaint); });
    if (firstPaint.milliseconds() <= 0.0)
        throw std::runtime_error("The sign-in dialog was not painted");
    return {{"milliseconds", firstPaint.milliseconds()}};
}

std::vector<BenchRow> measureStart(BenchGround& ground) {
    const Environment environment = ground.viewerEnvironment();
    std::vector<double> taken;
    measureInChild({QStringLiteral("start")}, environment); // the first one makes the settings
    for (int run = 0; run < startRuns; ++run)
        taken.push_back(
            measureInChild({QStringLiteral("start")}, environment).at("milliseconds").get<double>());
    BenchRow row = plainRow(startName, "ms", median(taken));
    row.note =
        "from just before the process is made until the dialog is painted; a later start, its files in the "
        "page cache; the program inside zorbel-bench, which links little more than zorbel-desktop does";
    return {row};
}

std::vector<std::string> readingRowNames() {
    std::vector<std::string> names;
    for (const Study& study : studies)
        for (const Stage& stage : stages)
            names.push_back(openingName(study, stage));
    for (const Stage& frame : frames)
        names.emplace_back(frame.title);
    return names;
}

nlohmann::json readingChild() {
    std::unique_ptr<ReadingDriver> driver;
    runProgramWith([&driver](QApplication&) { driver = std::make_unique<ReadingDriver>(&measureWindow); });
    if (!driver || !driver->failure().empty())
        throw std::runtime_error(driver ? driver->failure() : "The program did not start");
    return driver->result();
}

std::vector<BenchRow> measureReading(BenchGround& ground) {
    const Environment environment = ground.viewerEnvironment();
    std::map<std::string, std::vector<double>> taken;
    for (int run = 0; run < readingRuns; ++run) {
        const nlohmann::json result = measureInChild({QStringLiteral("reading")}, environment);
        for (const Study& study : studies)
            for (const Stage& stage : stages)
                taken[openingName(study, stage)].push_back(result.at(study.key).at(stage.key).get<double>());
        for (const Stage& frame : frames)
            taken[frame.title].push_back(result.at("frames").at(frame.key).get<double>());
    }
    std::vector<BenchRow> rows;
    for (const std::string& name : readingRowNames()) {
        rows.push_back(plainRow(name, "ms", median(taken.at(name))));
        rows.back().note = noteFor(name);
    }
    return rows;
}

} // namespace zorbel::bench
