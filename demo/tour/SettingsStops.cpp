#include "GuidedTour.h"
#include "TourStops.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDir>
#include <QMessageBox>
#include <QScrollArea>
#include <QSpinBox>
#include <QTest>

namespace zorbel {

namespace {

const QString dialogName = QStringLiteral("settingsDialog");

void open(GuidedTour& tour, const QString& name, bool picture) {
    auto& hands = tour.hands();
    tour.add(
        name, [&hands] { hands.click(QStringLiteral("toolbar-settings")); },
        [&hands] {
            const auto* nodes = hands.find<QComboBox>(QStringLiteral("settingsNode"));
            return nodes && nodes->count() > 1 && !hands.visible(QStringLiteral("settingsListStatus")) &&
                   hands.text(QStringLiteral("settingsUsage")).contains(QStringLiteral("studies"));
        },
        picture);
}

void close(GuidedTour& tour, const QString& name, const QString& button) {
    auto& hands = tour.hands();
    tour.add(
        name, [&hands, button] { hands.click(button); }, [&hands] { return !hands.visible(dialogName); },
        false);
}

/// Where the dialog is too tall for the screen.
void scrollTo(const TourHands& hands, const QString& field) {
    auto* area = hands.find<QScrollArea>(QStringLiteral("settingsArea"));
    auto* widget = area ? area->widget()->findChild<QWidget*>(field) : nullptr;
    if (widget)
        area->ensureWidgetVisible(widget, 0, 200);
}

/// With the arrow key, as far down as it goes.
void stepDown(const TourHands& hands, const QString& spinBox) {
    auto* box = hands.find<QSpinBox>(spinBox);
    for (int step = box ? box->value() - box->minimum() : 0; step > 0; --step)
        QTest::keyClick(box, Qt::Key_Down);
}

void planConnection(GuidedTour& tour) {
    auto& hands = tour.hands();
    open(tour, QStringLiteral("settings"), true);
    tour.add(
        QStringLiteral("settings-session-verified"),
        [&hands] { hands.click(QStringLiteral("settingsVerify")); },
        [&hands] {
            return hands.text(QStringLiteral("settingsSessionStatus")) ==
                   QStringLiteral("Connected securely");
        });
    tour.add(
        QStringLiteral("settings-node-connected"),
        [&hands] { hands.click(QStringLiteral("settingsConnect")); },
        [&hands] {
            return hands.text(QStringLiteral("settingsNodeStatus")) ==
                   QStringLiteral("Connected to Zorbel Local Node");
        });
    tour.add(
        QStringLiteral("settings-cloud"), [&hands] { hands.choose(QStringLiteral("settingsSource"), 2); },
        [&hands] {
            return hands.text(QStringLiteral("settingsNodeStatus")) ==
                   QStringLiteral("Cloud connection selected");
        });
    tour.add(
        QStringLiteral("settings-other-folder"),
        [&hands] {
            scrollTo(hands, QStringLiteral("settingsUsage"));
            hands.type(
                QStringLiteral("settingsFolder"), QDir::temp().filePath(QStringLiteral("other-cache")));
        },
        [&hands] { return hands.visible(QStringLiteral("settingsRemoveOld")) != nullptr; });
    close(tour, QStringLiteral("settings-cancelled"), QStringLiteral("settingsCancel"));
}

void planCache(GuidedTour& tour) {
    auto& hands = tour.hands();
    open(tour, QStringLiteral("settings-again"), false);
    tour.add(
        QStringLiteral("settings-clear-question"),
        [&hands] {
            scrollTo(hands, QStringLiteral("settingsUsage"));
            hands.click(QStringLiteral("settingsClear"));
        },
        [&hands] { return hands.visible(QStringLiteral("clearCacheBox")) != nullptr; });
    tour.add(
        QStringLiteral("settings-cache-cleared"),
        [&hands] {
            if (const auto* box = hands.find<QMessageBox>(QStringLiteral("clearCacheBox")))
                box->button(QMessageBox::Yes)->click();
        },
        [&hands] {
            return hands.text(QStringLiteral("settingsUsage")) == QStringLiteral("0 studies • 0 MB");
        });
    tour.add(
        QStringLiteral("settings-session-only"),
        [&hands] { stepDown(hands, QStringLiteral("settingsRetention")); },
        [&hands] {
            const auto* days = hands.find<QSpinBox>(QStringLiteral("settingsRetention"));
            return days && days->text() == QStringLiteral("Session only") &&
                   hands.visible(QStringLiteral("settingsSessionOnlyNotice"));
        });
    close(tour, QStringLiteral("settings-saved"), QStringLiteral("settingsSave"));
}

} // namespace

void planSettings(GuidedTour& tour) {
    planConnection(tour);
    planCache(tour);
}

} // namespace zorbel
