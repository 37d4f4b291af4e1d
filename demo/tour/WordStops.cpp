#include "DemoControl.h"
#include "GuidedTour.h"
#include "TourStops.h"
#include "WordHands.h"

#include <QListWidget>
#include <QTest>
#include <QToolButton>

#include <cstdio>

namespace zorbel {

namespace {

QString chip(const TourHands& hands) {
    const auto* button = hands.find<QToolButton>(QStringLiteral("reportChip"));
    return button ? button->text() : QString();
}

void planGallery(GuidedTour& tour) {
    auto& hands = tour.hands();
    const QString gallery = QStringLiteral("keyImageGallery");
    tour.add(
        QStringLiteral("key-images"),
        [&hands] {
            hands.press(Qt::Key_K, Qt::ControlModifier);
            hands.click(QStringLiteral("rail-key-images"));
        },
        [&hands, gallery] {
            const auto* list = hands.find<QListWidget>(QStringLiteral("keyImageList"));
            return list && list->count() > 0 && !list->item(list->count() - 1)->icon().isNull();
        });
    tour.add(
        QStringLiteral("after-key-images"),
        [&hands, gallery] {
            if (auto* dialog = hands.visible(gallery))
                QTest::keyClick(dialog, Qt::Key_Escape);
        },
        [&hands, gallery] { return !hands.visible(gallery); }, false);
}

void planOpening(GuidedTour& tour) {
    auto& hands = tour.hands();
    const QString dialog = QStringLiteral("wordTemplateDialog");
    tour.add(
        QStringLiteral("report-templates"), [&hands] { hands.click(QStringLiteral("toolbar-word")); },
        [&hands, dialog] { return hands.visible(dialog) != nullptr; });
    tour.add(
        QStringLiteral("report-open"),
        [&hands, dialog] {
            if (auto* chooser = hands.visible(dialog))
                QTest::keyClick(chooser, Qt::Key_Return);
        },
        [&hands] {
            return hands.text(QStringLiteral("statusText")).startsWith(QStringLiteral("Word report open."));
        });
}

void planWriting(GuidedTour& tour, DemoControl& control) {
    auto& hands = tour.hands();
    const WordHands word;
    tour.addScreen(
        QStringLiteral("report-in-libreoffice"), [] {},
        [word] { return word.seesReport() && word.seesItDrawn(); });
    tour.add(
        QStringLiteral("report-version-confirmed"),
        [word] { word.addAndSave(QStringLiteral("Reviewed together with the key images.")); },
        [&hands] { return chip(hands).contains(QStringLiteral("version 2")); });
    tour.add(
        QStringLiteral("reports-off"), [&control] { control.switchReportsOff(); },
        [&control] { return control.isIdle(); }, false);
    tour.add(
        QStringLiteral("report-sync-failed"),
        [word] { word.addAndSave(QStringLiteral(" Second opinion asked for.")); },
        [&hands] { return !hands.text(QStringLiteral("statusUnsynced")).isEmpty(); });
    tour.add(
        QStringLiteral("report-sync-recovered"),
        [&hands, &control] {
            control.switchReportsOn();
            hands.click(QStringLiteral("statusSync"));
        },
        [&hands] { return chip(hands).contains(QStringLiteral("version 3")); });
    tour.add(
        QStringLiteral("after-report"), [word] { word.closeReport(); }, [word] { return !word.seesReport(); },
        false);
}

} // namespace

void planReport(GuidedTour& tour, DemoControl& control) {
    tour.addOpening(QStringLiteral("jaw-to-report"), QStringLiteral("Jaw"), {}, false);
    planGallery(tour);
    planOpening(tour);
    if (WordHands::areThere())
        planWriting(tour, control);
    else
        std::printf("LibreOffice Writer or xdotool is not installed: no stops in the word processor.\n");
}

} // namespace zorbel
