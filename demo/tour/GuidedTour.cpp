#include "GuidedTour.h"

#include "viewer/window/MainWindow.h"

#include <QApplication>
#include <QDialog>
#include <QPainter>
#include <QPixmap>

#include <cstdio>
#include <utility>

namespace zorbel {

namespace {

constexpr int patienceMs = 90'000; // software rendering on a loaded machine is slow

} // namespace

GuidedTour::GuidedTour(QDir pictures, QObject* parent) : QObject(parent), pictures_(std::move(pictures)) {
    sinceAct_.start();
    connect(&timer_, &QTimer::timeout, this, &GuidedTour::poll);
}

void GuidedTour::add(
    const QString& name, std::function<void()> act, std::function<bool()> reached, bool picture) {
    stops_.push_back({name, std::move(act), std::move(reached), picture});
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
    if (!acted_) {
        if (!hands_.takeKeyboard() && sinceAct_.elapsed() < patienceMs)
            return;
        acted_ = true;
        const auto act = stops_[current_].act; // acting may add stops
        act();
        sinceAct_.start();
        return;
    }
    if (!stops_[current_].reached()) {
        if (sinceAct_.elapsed() > patienceMs) {
            std::fprintf(
                stderr, "The tour did not reach the stop \"%s\".\n", qPrintable(stops_[current_].name));
            savePicture(QStringLiteral("not-reached-") + stops_[current_].name);
            finish(false);
        }
        return;
    }
    if (stops_[current_].picture)
        savePicture(stops_[current_].name);
    ++current_;
    acted_ = false;
    sinceAct_.start();
}

void GuidedTour::finish(bool success) {
    timer_.stop();
    succeeded_ = success;
    if (auto* window = hands_.mainWindow())
        window->close();
    else
        QApplication::closeAllWindows();
}

void GuidedTour::savePicture(const QString& name) {
    QWidget* base = hands_.mainWindow();
    if (!base)
        base = QApplication::activeModalWidget();
    if (!base)
        return;
    QPixmap picture = base->grab();
    {
        QPainter painter(&picture);
        for (QWidget* window : QApplication::topLevelWidgets())
            if (window != base && window->isVisible() && qobject_cast<QDialog*>(window))
                painter.drawPixmap(
                    window->mapToGlobal(QPoint()) - base->mapToGlobal(QPoint()), window->grab());
    }
    const QString file = QStringLiteral("%1-%2.png").arg(++taken_, 2, 10, QLatin1Char('0')).arg(name);
    if (picture.save(pictures_.filePath(file)))
        std::printf("%s\n", qPrintable(file));
    else
        std::fprintf(stderr, "Could not write %s\n", qPrintable(file));
    std::fflush(stdout);
}

} // namespace zorbel
