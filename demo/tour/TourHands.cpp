#include "TourHands.h"

#include "imaging/rendering/PlaneView.h"
#include "imaging/rendering/VolumeView.h"
#include "viewer/mpr/MprMode.h"
#include "viewer/studies/StudyBrowserWidget.h"
#include "viewer/window/MainWindow.h"
#include "viewer/window/StatusLine.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QMessageBox>
#include <QMouseEvent>
#include <QTest>
#include <QWheelEvent>

#include <cmath>
#include <cstdio>
#include <numbers>

namespace zorbel {

namespace {

/// What the mouse meets there: the widget, or what lies over all of it.
QWidget* underPointer(QWidget* widget, const QPointF& position) {
    QWidget* child = widget->childAt(position.toPoint());
    return child && child->size() == widget->size() ? child : widget;
}

void sendMouse(QWidget* widget, QEvent::Type type, const QPointF& position, Qt::KeyboardModifiers modifiers) {
    const bool moves = type == QEvent::MouseMove;
    const bool releases = type == QEvent::MouseButtonRelease;
    QMouseEvent event(
        type, position, widget->mapToGlobal(position), moves ? Qt::NoButton : Qt::LeftButton,
        releases ? Qt::NoButton : Qt::LeftButton, modifiers);
    QApplication::sendEvent(widget, &event);
}

} // namespace

MainWindow* TourHands::mainWindow() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* main = qobject_cast<MainWindow*>(window);
        if (!main || !main->isVisible())
            continue;
        if (main != watched_) {
            watched_ = main;
            if (auto* status = main->findChild<StatusLine*>())
                status->setPatience(0); // what a stop waits to read must not go
            connect(main, &MainWindow::studyDisplayed, this, [this](qint64 milliseconds) {
                displayed_ = true;
                std::printf("drawn %lld ms after the double-click\n", static_cast<long long>(milliseconds));
            });
        }
        return main;
    }
    return nullptr;
}

QWidget* TourHands::visible(const QString& objectName) const {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->objectName() == objectName && window->isVisible())
            return window;
        for (QWidget* child : window->findChildren<QWidget*>(objectName))
            if (child->isVisible())
                return child;
    }
    return nullptr;
}

QString TourHands::text(const QString& objectName) const {
    const auto* label = find<QLabel>(objectName);
    return label ? label->text() : QString();
}

bool TourHands::isChecked(const QString& objectName) const {
    const auto* button = find<QAbstractButton>(objectName);
    return button && button->isChecked();
}

bool TourHands::takeKeyboard() {
    auto* window = mainWindow();
    if (!window || QApplication::activeModalWidget() || QApplication::activeWindow())
        return true;
    window->activateWindow();
    return false;
}

void TourHands::click(const QString& objectName) {
    if (auto* widget = visible(objectName))
        QTest::mouseClick(underPointer(widget, QPointF(widget->rect().center())), Qt::LeftButton);
}

void TourHands::type(const QString& objectName, const QString& text) {
    auto* field = visible(objectName);
    if (!field)
        return;
    QTest::mouseClick(field, Qt::LeftButton);
    field->setFocus(Qt::MouseFocusReason);
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

void TourHands::press(int key, Qt::KeyboardModifiers modifiers) {
    if (auto* window = mainWindow())
        QTest::keyClick(window, static_cast<Qt::Key>(key), modifiers);
}

void TourHands::choose(const QString& objectName, int index) {
    auto* list = find<QComboBox>(objectName);
    if (!list)
        return;
    QTest::mouseClick(list, Qt::LeftButton);
    QWidget* entries = list->view();
    QTest::keyClick(entries, Qt::Key_Home);
    for (int step = 0; step < index; ++step)
        QTest::keyClick(entries, Qt::Key_Down);
    QTest::keyClick(entries, Qt::Key_Return);
}

void TourHands::turnWheel(const QString& objectName, int notches) {
    auto* view = visible(objectName);
    if (!view)
        return;
    const QPointF position = view->rect().center();
    QWheelEvent event(
        position, view->mapToGlobal(position), QPoint(), QPoint(0, 120 * notches), Qt::NoButton,
        Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view, &event);
}

void TourHands::drag(
    const QString& objectName, const std::vector<QPointF>& path, Qt::KeyboardModifiers modifiers) {
    auto* widget = visible(objectName);
    if (!widget || path.empty())
        return;
    widget = underPointer(widget, path.front());
    sendMouse(widget, QEvent::MouseButtonPress, path.front(), modifiers);
    for (const QPointF& point : path)
        sendMouse(widget, QEvent::MouseMove, point, modifiers);
    sendMouse(widget, QEvent::MouseButtonRelease, path.back(), modifiers);
}

void TourHands::turnPlanes() {
    press(Qt::Key_R);
    const MprGuide* guide = axialGuide();
    if (!guide)
        return;
    const Point2 center = guide->view().center;
    const Point2 handle = guide->handles(0).rotation[0];
    const double radius = length(handle - center);
    const double begin = std::atan2(handle.y - center.y, handle.x - center.x);
    std::vector<QPointF> path;
    for (int step = 0; step <= 14; ++step) {
        const double angle = begin + 2.0 * step * std::numbers::pi / 180.0;
        path.emplace_back(center.x + radius * std::cos(angle), center.y + radius * std::sin(angle));
    }
    drag(QStringLiteral("axialView"), path, Qt::ShiftModifier);
}

const MprGuide* TourHands::axialGuide() const {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (const auto* mode = window->isVisible() ? window->findChild<MprMode*>() : nullptr)
            return &mode->pane(0).guide().guide();
    return nullptr;
}

void TourHands::closeMessage() {
    if (auto* box = find<QMessageBox>(QStringLiteral("loadFailureBox")))
        QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
}

int TourHands::rowContaining(const QString& text) const {
    const auto* list = find<QListWidget>(QStringLiteral("studyList"));
    for (int row = 0; list && row < list->count(); ++row)
        if (list->item(row)->text().contains(text, Qt::CaseInsensitive))
            return row;
    return -1;
}

int TourHands::rowOfStudy(const QString& studyUid) const {
    for (int row = 0; row < rowCount(); ++row)
        if (studyOfRow(row) == studyUid)
            return row;
    return -1;
}

QString TourHands::studyOfRow(int row) const {
    const auto* list = find<QListWidget>(QStringLiteral("studyList"));
    if (row < 0 || row >= rowCount())
        return {};
    const auto study = list->item(row)->data(StudyBrowserWidget::studyRole).value<StudyIdentity>();
    return QString::fromStdString(study.studyInstanceUid);
}

int TourHands::rowCount() const {
    const auto* list = find<QListWidget>(QStringLiteral("studyList"));
    return list ? list->count() : 0;
}

void TourHands::openRow(int row) {
    awaitStudy();
    if (row < 0 || row >= rowCount())
        return;
    auto* list = find<QListWidget>(QStringLiteral("studyList"));
    auto* item = list->item(row);
    list->scrollToItem(item);
    opened_.insert(studyOfRow(row));
    const QPoint position = list->visualItemRect(item).center();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
    QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, position);
}

bool TourHands::viewsSettled() const {
    for (const char* name : {"axialView", "coronalView", "sagittalView"})
        if (const auto* view = find<imaging::PlaneView>(QLatin1String(name)); view && !view->isUpToDate())
            return false;
    const auto* volume = find<imaging::VolumeView>(QStringLiteral("volumeView"));
    return !volume || volume->isStill() || (!volume->isReady() && !volume->notice().isEmpty());
}

} // namespace zorbel
