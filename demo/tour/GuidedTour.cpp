#include "GuidedTour.h"

#include "imaging/rendering/RenderWindowWidget.h"
#include "viewer/window/MainWindow.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

namespace zorbel {

namespace {

/// Without anything to be seen of it: a busy machine may prepare a volume for a while.
constexpr int patienceMs = 300'000;

int ancestors(const QWidget* widget) {
    int count = 0;
    while ((widget = widget->parentWidget()))
        ++count;
    return count;
}

} // namespace

GuidedTour::GuidedTour(QDir pictures, int picturesBefore, QObject* parent)
    : QObject(parent), pictures_(std::move(pictures)), taken_(picturesBefore) {
    sinceProgress_.start();
    connect(&timer_, &QTimer::timeout, this, &GuidedTour::poll);
    qApp->installEventFilter(this);
}

bool GuidedTour::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint &&
        (qobject_cast<QLabel*>(watched) || qobject_cast<imaging::RenderWindowWidget*>(watched)))
        sinceProgress_.start();
    return QObject::eventFilter(watched, event);
}

void GuidedTour::add(
    const QString& name, std::function<void()> act, std::function<bool()> reached, bool picture) {
    stops_.push_back({name, std::move(act), std::move(reached), picture});
}

void GuidedTour::addScreen(const QString& name, std::function<void()> act, std::function<bool()> reached) {
    stops_.push_back({name, std::move(act), std::move(reached), true, true});
}

void GuidedTour::addOpening(
    const QString& name, const QString& rowText, std::function<bool()> shown, bool picture) {
    add(
        name, [this, rowText] { hands_.openRow(hands_.rowContaining(rowText)); },
        [this, shown = std::move(shown)] { return hands_.studyShown() && (!shown || shown()); }, picture);
}

void GuidedTour::poll() {
    if (current_ == stops_.size()) {
        finish(true);
        return;
    }
    hands_.mainWindow(); // connects to it as soon as it is there
    const Stop& stop = stops_[current_];
    if (!acted_ && hands_.takeKeyboard()) {
        acted_ = true;
        sinceAct_.start();
        sinceProgress_.start();
        const auto act = stop.act; // acting may add stops
        act();
    } else if (acted_ && stop.reached() && (!stop.picture || hands_.viewsSettled())) {
        if (stop.picture)
            savePicture(stop.name, stop.wholeScreen);
        std::printf("%lld ms to the stop \"%s\"\n", sinceAct_.elapsed(), qPrintable(stop.name));
        ++current_;
        acted_ = false;
    } else if (sinceProgress_.elapsed() > patienceMs) {
        std::fprintf(stderr, "The tour did not reach the stop \"%s\".\n", qPrintable(stop.name));
        savePicture(QStringLiteral("not-reached-") + stop.name);
        finish(false);
    }
}

void GuidedTour::finish(bool success) {
    timer_.stop();
    succeeded_ = success;
    if (auto* window = hands_.mainWindow())
        window->close();
    else
        QApplication::closeAllWindows();
}

QPixmap GuidedTour::windows() {
    QWidget* base = hands_.mainWindow();
    if (!base)
        base = QApplication::activeModalWidget();
    if (!base)
        return {};
    QPixmap picture = base->grab();
    QPainter painter(&picture);
    std::vector<QWidget*> dialogs;
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window != base && window->isVisible() && qobject_cast<QDialog*>(window))
            dialogs.push_back(window);
    std::stable_sort(dialogs.begin(), dialogs.end(), [](const QWidget* one, const QWidget* other) {
        return ancestors(one) < ancestors(other); // a question lies over the dialog that asks
    });
    for (QWidget* dialog : dialogs)
        painter.drawPixmap(dialog->mapToGlobal(QPoint()) - base->mapToGlobal(QPoint()), dialog->grab());
    return picture;
}

void GuidedTour::savePicture(const QString& name, bool wholeScreen) {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest); // what is new takes its place
    const QPixmap picture = wholeScreen ? QGuiApplication::primaryScreen()->grabWindow(0) : windows();
    if (picture.isNull())
        return;
    const QString file = QStringLiteral("%1-%2.png").arg(++taken_, 2, 10, QLatin1Char('0')).arg(name);
    if (picture.save(pictures_.filePath(file)))
        std::printf("%s\n", qPrintable(file));
    else
        std::fprintf(stderr, "Could not write %s\n", qPrintable(file));
    std::fflush(stdout);
}

} // namespace zorbel
