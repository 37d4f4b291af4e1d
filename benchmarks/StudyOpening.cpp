#include "benchmarks/StudyOpening.h"

#include "cache/StudyLoadController.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/window/MainWindow.h"

#include <QElapsedTimer>
#include <QListWidget>
#include <QTest>
#include <QTimer>

#include <stdexcept>

namespace zorbel::bench {

namespace {

constexpr int patienceMs = 120'000;

} // namespace

void waitUntil(const std::function<bool()>& condition, const char* what) {
    QElapsedTimer waited;
    waited.start();
    // Wakes the loop, so that the condition is looked at even when nothing happens.
    QTimer heartbeat;
    heartbeat.start(20);
    while (!condition()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (waited.elapsed() > patienceMs)
            throw std::runtime_error(std::string("The viewer did not come to this: ") + what);
    }
}

OpeningTimes openStudy(MainWindow& window, const QString& rowText) {
    auto* list = window.findChild<QListWidget*>(QStringLiteral("studyList"));
    auto* loader = window.findChild<StudyLoadController*>();
    auto* volume = window.findChild<imaging::VolumeView*>();
    const auto rows = list ? list->findItems(rowText, Qt::MatchContains) : QList<QListWidgetItem*>();
    if (rows.isEmpty() || !loader || !volume)
        throw std::runtime_error("The study list has no row with \"" + rowText.toStdString() + "\"");

    OpeningTimes times;
    QString failure;
    QElapsedTimer clock;
    const auto note = [&clock](double& time) {
        if (time == 0.0)
            time = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    };
    QObject connections; // its end is theirs
    QObject::connect(
        loader, &StudyLoadController::stageChanged, &connections, [&](const StudyLoadStage& stage) {
            if (stage.title.startsWith(QStringLiteral("Loading selected DICOM series")))
                note(times.listed);
            else if (stage.title == QStringLiteral("Building diagnostic volume"))
                note(times.downloaded);
        });
    QObject::connect(loader, &StudyLoadController::loadingChanged, &connections, [&](bool loading) {
        if (!loading)
            note(times.decoded);
    });
    QObject::connect(
        loader, &StudyLoadController::loadFailed, &connections,
        [&](const StudyLoadFailure& reason) { failure = reason.status; });
    QObject::connect(&window, &MainWindow::studyDisplayed, &connections, [&] { note(times.drawn); });
    QObject::connect(volume, &imaging::VolumeView::stillFrameRendered, &connections, [&] {
        // Not a last frame of the study before.
        if (times.decoded > 0.0)
            note(times.volume);
    });

    list->scrollToItem(rows.front());
    const QPoint position = list->visualItemRect(rows.front()).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
    clock.start();
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
    waitUntil(
        [&] { return (times.drawn > 0.0 && times.volume > 0.0) || !failure.isEmpty(); }, "a study drawn");
    if (!failure.isEmpty())
        throw std::runtime_error(failure.toStdString());
    return times;
}

} // namespace zorbel::bench
