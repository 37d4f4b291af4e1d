#include "GuidedTour.h"
#include "TourStops.h"

#include "viewer/findings/DentalChart.h"
#include "viewer/reading/records/FindingCategory.h"

#include <QTableWidget>
#include <QTest>
#include <QTreeWidget>

#include <vector>

namespace zorbel {

namespace {

const QString axialMeasurements = QStringLiteral("axialView");
const QString coronalMeasurements = QStringLiteral("coronalView");
const QString imageMeasurements = QStringLiteral("imageView");

/// A point of a view, as shares of its width and height.
struct Share {
    double x;
    double y;
};

std::vector<QPointF> pointsIn(const TourHands& hands, const QString& view, const std::vector<Share>& shares) {
    std::vector<QPointF> points;
    if (const QWidget* widget = hands.visible(view))
        for (const Share& share : shares)
            points.emplace_back(share.x * widget->width(), share.y * widget->height());
    return points;
}

/// With the tool of a key, from point to point with the button held.
void draw(TourHands& hands, int tool, const QString& view, const std::vector<Share>& shares) {
    hands.press(tool);
    hands.drag(view, pointsIn(hands, view, shares));
}

/// With the tool of a key, point by point.
void place(TourHands& hands, int tool, const QString& view, const std::vector<Share>& shares) {
    hands.press(tool);
    for (const QPointF& point : pointsIn(hands, view, shares))
        hands.drag(view, {point});
}

/// A row of the list of measurements; view: part of its name.
struct ExpectedRow {
    QString tool;
    QString unit;
    QString view;
};

bool listEndsWith(const TourHands& hands, const std::vector<ExpectedRow>& rows) {
    const auto* list = hands.find<QTreeWidget>(QStringLiteral("measurementList"));
    const int count = static_cast<int>(rows.size());
    if (!list || list->topLevelItemCount() < count)
        return false;
    const int first = list->topLevelItemCount() - count;
    for (int row = 0; row < count; ++row) {
        const auto* item = list->topLevelItem(first + row);
        const ExpectedRow& expected = rows[static_cast<std::size_t>(row)];
        if (item->text(0) != expected.tool || !item->text(1).contains(expected.unit) ||
            !item->text(2).contains(expected.view))
            return false;
    }
    return true;
}

void planMeasurements(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("where-to-measure"),
        [&hands] {
            hands.press(Qt::Key_R, Qt::ShiftModifier);
            hands.turnWheel(QStringLiteral("axialView"), -25);
        },
        [] { return true; }, false);
    tour.add(
        QStringLiteral("measured-axial"),
        [&hands] {
            draw(hands, Qt::Key_L, axialMeasurements, {{0.36, 0.42}, {0.5, 0.42}, {0.64, 0.42}});
            place(hands, Qt::Key_G, axialMeasurements, {{0.24, 0.82}, {0.24, 0.58}, {0.36, 0.66}});
            place(hands, Qt::Key_B, axialMeasurements, {{0.5, 0.8}});
        },
        [&hands] {
            const QString axial = QStringLiteral("Axial");
            return listEndsWith(
                hands, {{QStringLiteral("Length"), QStringLiteral(" mm"), axial},
                        {QStringLiteral("Angle"), QStringLiteral(" deg"), axial},
                        {QStringLiteral("Probe"), QString(), axial}});
        });
    tour.add(
        QStringLiteral("regions-coronal"),
        [&hands] {
            draw(hands, Qt::Key_K, coronalMeasurements, {{0.12, 0.66}, {0.3, 0.8}});
            draw(hands, Qt::Key_O, coronalMeasurements, {{0.42, 0.3}, {0.58, 0.44}});
        },
        [&hands] {
            const QString coronal = QStringLiteral("Coronal");
            return listEndsWith(
                hands, {{QStringLiteral("Box ROI"), QStringLiteral("mm2"), coronal},
                        {QStringLiteral("Oval ROI"), QStringLiteral("mm2"), coronal}});
        });
    tour.add(
        QStringLiteral("measured-oblique"),
        [&hands] {
            hands.turnPlanes();
            draw(hands, Qt::Key_L, coronalMeasurements, {{0.35, 0.5}, {0.5, 0.5}, {0.65, 0.6}});
        },
        [&hands] {
            return listEndsWith(
                hands, {{QStringLiteral("Length"), QStringLiteral(" mm"), QStringLiteral("oblique")}});
        });
}

void planFinding(GuidedTour& tour) {
    auto& hands = tour.hands();
    const QString dialogName = QStringLiteral("findingsDialog");
    tour.add(
        QStringLiteral("findings"), [&hands] { hands.press(Qt::Key_F, Qt::ControlModifier); },
        [&hands, dialogName] { return hands.visible(dialogName) != nullptr; });
    tour.add(
        QStringLiteral("finding-recorded"),
        [&hands] {
            const QString chartName = QStringLiteral("dentalChart");
            if (const auto* chart = hands.find<DentalChart>(chartName))
                hands.drag(chartName, {chart->cellOf(48).center()});
            hands.choose(QStringLiteral("findingCategory"), static_cast<int>(FindingCategory::Impaction));
            hands.type(QStringLiteral("findingNote"), QStringLiteral("Close to the mandibular canal"));
            hands.click(QStringLiteral("findingRecord"));
        },
        [&hands] {
            const auto* table = hands.find<QTableWidget>(QStringLiteral("findingsTable"));
            return table && table->rowCount() == 1 &&
                   table->item(0, 0)->text().contains(QStringLiteral("48")) &&
                   table->item(0, 1)->text() == QStringLiteral("Impaction") &&
                   !table->item(0, 2)->text().isEmpty();
        });
    tour.add(
        QStringLiteral("after-findings"),
        [&hands, dialogName] {
            if (auto* dialog = hands.visible(dialogName))
                QTest::keyClick(dialog, Qt::Key_Escape);
        },
        [&hands, dialogName] { return !hands.visible(dialogName); }, false);
}

void planKeyImage(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.add(
        QStringLiteral("key-image"), [&hands] { hands.press(Qt::Key_K, Qt::ControlModifier); },
        [&hands] {
            return hands.text(QStringLiteral("statusText")) ==
                   QStringLiteral("Key image 1 captured (1 held for the report)");
        });
    tour.add(
        QStringLiteral("after-records"),
        [&hands] {
            hands.press(Qt::Key_R, Qt::ShiftModifier);
            hands.press(Qt::Key_C);
        },
        [] { return true; }, false);
}

void planImageLength(GuidedTour& tour) {
    auto& hands = tour.hands();
    tour.addOpening(QStringLiteral("panoramic-again"), QStringLiteral("Panoramic"), {}, false);
    tour.add(
        QStringLiteral("measured-panoramic"),
        [&hands] {
            draw(hands, Qt::Key_L, imageMeasurements, {{0.35, 0.5}, {0.45, 0.55}, {0.55, 0.6}});
        },
        [&hands] {
            return listEndsWith(hands, {{QStringLiteral("Length"), QStringLiteral(" mm"), QString()}});
        });
    tour.add(
        QStringLiteral("after-panoramic"), [&hands] { hands.press(Qt::Key_C); }, [] { return true; }, false);
}

} // namespace

void planRecords(GuidedTour& tour) {
    tour.addOpening(QStringLiteral("jaw-to-record"), QStringLiteral("Jaw"), {}, false);
    planMeasurements(tour);
    planFinding(tour);
    planKeyImage(tour);
    planImageLength(tour);
}

} // namespace zorbel
