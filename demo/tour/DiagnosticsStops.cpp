#include "GuidedTour.h"
#include "TourStops.h"

#include <QAbstractButton>
#include <QPlainTextEdit>
#include <QTabWidget>
#include <QTextEdit>
#include <QTreeWidget>

namespace zorbel {

namespace {

void turnTo(const TourHands& hands, int page) {
    if (auto* pages = hands.find<QTabWidget>(QStringLiteral("diagnosticsPages")))
        pages->setCurrentIndex(page);
}

QString report(const TourHands& hands) {
    const auto* text = hands.find<QTextEdit>(QStringLiteral("diagnosticsReport"));
    return text ? text->toPlainText() : QString();
}

} // namespace

void planDiagnostics(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("diagnostics"), [&hands] { hands.press(Qt::Key_D, Qt::ControlModifier); },
        [&hands] { return report(hands).contains(QStringLiteral("reslice.thickslices")); });
    tour.add(
        QStringLiteral("diagnostics-study"),
        [&hands] {
            if (auto* text = hands.find<QTextEdit>(QStringLiteral("diagnosticsReport")))
                text->find(QStringLiteral("reslice.thickslices.num"));
        },
        [&hands] {
            const auto* text = hands.find<QTextEdit>(QStringLiteral("diagnosticsReport"));
            return text && text->textCursor().hasSelection();
        });
    tour.add(
        QStringLiteral("diagnostics-log"),
        [&hands] {
            turnTo(hands, 1);
            hands.type(QStringLiteral("diagnosticsFilter"), QStringLiteral("duration"));
        },
        [&hands] {
            const auto* log = hands.find<QPlainTextEdit>(QStringLiteral("diagnosticsLog"));
            return log && log->toPlainText().contains(QStringLiteral("duration="));
        });
    tour.add(
        QStringLiteral("support-bundle"), [&hands] { hands.click(QStringLiteral("diagnosticsExport")); },
        [&hands] {
            const auto* list = hands.find<QTreeWidget>(QStringLiteral("supportBundleList"));
            return list && list->isEnabled() && list->topLevelItemCount() >= 5;
        });
    tour.add(
        QStringLiteral("support-bundle-closed"),
        [&hands] { hands.click(QStringLiteral("supportBundleClose")); },
        [&hands] { return !hands.visible(QStringLiteral("supportBundleDialog")); }, false);
    tour.add(
        QStringLiteral("diagnostics-closed"),
        [&hands] {
            turnTo(hands, 0);
            hands.press(Qt::Key_D, Qt::ControlModifier);
        },
        [&hands] { return !hands.visible(QStringLiteral("diagnosticsPane")); }, false);
}

} // namespace zorbel
