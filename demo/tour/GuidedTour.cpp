#include "GuidedTour.h"

#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/MainWindow.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPainter>
#include <QTest>
#include <QWheelEvent>

#include <cstdio>
#include <utility>

namespace zorbel {

namespace {

constexpr int patienceMs = 90'000; // software rendering on a loaded machine is slow
constexpr int studyUidRole = Qt::UserRole + 3;

void click(QWidget* widget) {
    QTest::mouseClick(widget, Qt::LeftButton);
}

void type(QWidget* field, const QString& text) {
    click(field);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

void turnWheel(QWidget* view, int notches) {
    const QPointF position = view->rect().center();
    QWheelEvent event(
        position, view->mapToGlobal(position), QPoint(), QPoint(0, 120 * notches), Qt::NoButton,
        Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view, &event);
}

} // namespace

GuidedTour::GuidedTour(QDir pictures, QString email, QString password, QObject* parent)
    : QObject(parent), pictures_(std::move(pictures)), email_(std::move(email)),
      password_(std::move(password)) {
    planSignIn();
    planReading();
    planSeriesChoice();
    planRefusal();
    planFurtherStudies();
    connect(&timer_, &QTimer::timeout, this, &GuidedTour::poll);
    timer_.start(60);
}

void GuidedTour::add(
    const QString& name, std::function<void()> act, std::function<bool()> reached, bool picture) {
    stops_.push_back({name, std::move(act), std::move(reached), picture});
}

void GuidedTour::planSignIn() {
    add(
        QStringLiteral("sign-in"), [] {}, [this] { return visible("loginSubmit") != nullptr; });
    add(
        QStringLiteral("wrong-password"),
        [this] {
            type(visible("loginEmail"), email_);
            type(visible("loginPassword"), QStringLiteral("not the password"));
            click(visible("loginSubmit"));
        },
        [this] { return visible("loginError") != nullptr && visible("loginSubmit")->isEnabled(); });
    add(
        QStringLiteral("study-list"),
        [this] {
            type(visible("loginPassword"), password_);
            QTest::keyClick(visible("loginPassword"), Qt::Key_Return);
        },
        [this] {
            const auto* list = qobject_cast<QListWidget*>(visible("studyList"));
            return mainWindow() && list && list->count() > 0;
        });
}

void GuidedTour::planReading() {
    addOpening(QStringLiteral("volume"), [this] { return rowContaining(QStringLiteral("Jaw")); });
    add(
        QStringLiteral("volume-scrolled"),
        [this] {
            stillVolume_ = true;
            turnWheel(visible("axialView"), -25);
            turnWheel(visible("coronalView"), -60);
            click(visible("sagittalView"));
            for (int step = 0; step < 40; ++step)
                QTest::keyClick(mainWindow(), Qt::Key_Left);
        },
        [this] {
            const auto* sagittal = qobject_cast<imaging::PlaneView*>(visible("sagittalView"));
            const auto& slices = sagittal->navigation();
            // The volume opened in its middle; the keys must have left it.
            return sinceAct_.elapsed() > 400 && studyShown() &&
                   slices.currentSlice() < slices.sliceCount() / 2 - 30;
        });
    addOpening(QStringLiteral("panoramic"), [this] { return rowContaining(QStringLiteral("Panoramic")); });
    addOpening(
        QStringLiteral("cephalometric"), [this] { return rowContaining(QStringLiteral("Cephalometric")); });
}

void GuidedTour::planSeriesChoice() {
    add(
        QStringLiteral("series-choice"), [this] { openRow(rowContaining(QStringLiteral("Several"))); },
        [this] { return visible("seriesTable") != nullptr; });
    add(
        QStringLiteral("chosen-series"),
        [this] {
            displayed_ = stillVolume_ = false;
            QTest::keyClick(visible("seriesTable"), Qt::Key_Return);
        },
        [this] { return studyShown(); });
}

void GuidedTour::planRefusal() {
    add(
        QStringLiteral("incomplete-series"), [this] { openRow(rowContaining(QStringLiteral("Incomplete"))); },
        [this] { return visible("loadFailureBox") != nullptr; });
    add(
        QStringLiteral("after-refusal"),
        [this] { click(qobject_cast<QMessageBox*>(visible("loadFailureBox"))->button(QMessageBox::Ok)); },
        [this] { return visible("loadFailureBox") == nullptr; }, false);
}

void GuidedTour::planFurtherStudies() {
    add(
        QStringLiteral("further-studies"),
        [this] {
            const auto* list = qobject_cast<QListWidget*>(visible("studyList"));
            for (int row = 0; row < list->count(); ++row) {
                const QString uid = list->item(row)->data(studyUidRole).toString();
                if (opened_.contains(uid))
                    continue;
                addOpening(QStringLiteral("further-study"), [this, uid] {
                    const auto* rows = qobject_cast<QListWidget*>(visible("studyList"));
                    for (int index = 0; index < rows->count(); ++index)
                        if (rows->item(index)->data(studyUidRole).toString() == uid)
                            return index;
                    return -1;
                });
            }
        },
        [] { return true; }, false);
}

void GuidedTour::addOpening(const QString& name, std::function<int()> row) {
    const bool further = name == QStringLiteral("further-study");
    add(
        name, [this, row = std::move(row)] { openRow(row()); },
        [this, further] {
            // An import of the user's may be refused, or hold several series: that, too, is a stop worth
            // seeing.
            if (auto* table = further ? visible("seriesTable") : nullptr) {
                QTest::keyClick(table, Qt::Key_Return);
                return false;
            }
            return studyShown() || (further && visible("loadFailureBox") != nullptr);
        });
    if (further)
        add(
            QStringLiteral("close-message"),
            [this] {
                if (auto* box = qobject_cast<QMessageBox*>(visible("loadFailureBox")))
                    click(box->button(QMessageBox::Ok));
            },
            [this] { return visible("loadFailureBox") == nullptr; }, false);
}

void GuidedTour::poll() {
    if (current_ == stops_.size()) {
        finish(true);
        return;
    }
    mainWindow(); // connects to it as soon as it is there
    if (!acted_) {
        acted_ = true;
        sinceAct_.start();
        const auto act = stops_[current_].act; // acting may add stops
        act();
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
}

void GuidedTour::finish(bool success) {
    timer_.stop();
    succeeded_ = success;
    if (auto* window = mainWindow())
        window->close();
    else
        QApplication::closeAllWindows();
}

void GuidedTour::savePicture(const QString& name) {
    QWidget* base = mainWindow();
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

MainWindow* GuidedTour::mainWindow() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* main = qobject_cast<MainWindow*>(window);
        if (!main || !main->isVisible())
            continue;
        if (main != watched_) {
            watched_ = main;
            connect(main, &MainWindow::studyDisplayed, this, [this](qint64 milliseconds) {
                displayed_ = true;
                std::printf("drawn %lld ms after the double-click\n", static_cast<long long>(milliseconds));
            });
            if (auto* volume = main->findChild<imaging::VolumeView*>())
                connect(
                    volume, &imaging::VolumeView::stillFrameRendered, this, [this] { stillVolume_ = true; });
        }
        return main;
    }
    return nullptr;
}

QWidget* GuidedTour::visible(const char* objectName) const {
    const QString name = QString::fromLatin1(objectName);
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() == name && window->isVisible())
            return window;
        for (QWidget* child : window->findChildren<QWidget*>(name))
            if (child->isVisible())
                return child;
    }
    return nullptr;
}

int GuidedTour::rowContaining(const QString& text) const {
    const auto* list = qobject_cast<QListWidget*>(visible("studyList"));
    for (int row = 0; list && row < list->count(); ++row)
        if (list->item(row)->text().contains(text, Qt::CaseInsensitive))
            return row;
    return -1;
}

void GuidedTour::openRow(int row) {
    displayed_ = stillVolume_ = false;
    auto* list = qobject_cast<QListWidget*>(visible("studyList"));
    if (!list || row < 0)
        return; // the stop will not be reached, and says so
    auto* item = list->item(row);
    list->scrollToItem(item);
    opened_.insert(item->data(studyUidRole).toString());
    const QPoint position = list->visualItemRect(item).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
}

bool GuidedTour::studyShown() const {
    const auto* volume = qobject_cast<imaging::VolumeView*>(visible("volumeView"));
    return displayed_ && (!volume || stillVolume_ || (!volume->isReady() && !volume->notice().isEmpty()));
}

} // namespace zorbel
