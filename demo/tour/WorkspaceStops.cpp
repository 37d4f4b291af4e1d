#include "GuidedTour.h"
#include "TourStops.h"
#include "base/qt/QtText.h"

#include "imaging/display/VolumePreset.h"
#include "imaging/planes/Slab.h"
#include "imaging/rendering/PlaneView.h"
#include "viewer/reading/display/WindowPresets.h"
#include "viewer/reading/planes/MprGuide.h"

#include <QComboBox>
#include <QTest>

#include <cmath>
#include <memory>
#include <numbers>

namespace zorbel {

namespace {

const QString axialView = QStringLiteral("axialView");
const QString volumeView = QStringLiteral("volumeView");

/// "3D CT B/W" becomes "3d-ct-b-w".
QString fileName(std::string_view text) {
    QString name;
    for (const char letter : text) {
        const QChar one = QChar::fromLatin1(letter).toLower();
        name += one.isLetterOrNumber() ? one : QLatin1Char('-');
    }
    return name.replace(QStringLiteral("---"), QStringLiteral("-"));
}

bool statusIs(const TourHands& hands, const QString& text) {
    return hands.text(QStringLiteral("statusText")) == text;
}

void planLayouts(GuidedTour& tour) {
    auto& hands = tour.hands();
    const auto layout = [&tour, &hands](int key, const QString& button) {
        tour.add(
            button, [&hands, key] { hands.press(key, Qt::ControlModifier); },
            [&hands, button] { return hands.isChecked(QStringLiteral("rail-") + button); });
    };
    layout(Qt::Key_2, QStringLiteral("layout-single"));
    layout(Qt::Key_3, QStringLiteral("layout-side-by-side"));
    layout(Qt::Key_4, QStringLiteral("layout-primary-plus-three"));
    layout(Qt::Key_1, QStringLiteral("layout-quad"));
    const auto maximise = [&hands] { hands.click(QStringLiteral("volumeMaximise")); };
    tour.add(QStringLiteral("volume-maximised"), maximise, [&hands] {
        return !hands.visible(axialView) && hands.visible(volumeView);
    });
    tour.add(QStringLiteral("volume-restored"), maximise, [&hands] { return hands.visible(axialView); });
}

double lineAngle(const TourHands& hands) {
    const MprGuide* guide = hands.axialGuide();
    if (!guide)
        return 0.0;
    const Point2& direction = guide->view().lines[0].direction;
    return std::atan2(direction.y, direction.x);
}

void planOblique(GuidedTour& tour) {
    auto& hands = tour.hands();
    const auto before = std::make_shared<double>(0.0);
    tour.add(
        QStringLiteral("oblique-30"),
        [&hands, before] {
            *before = lineAngle(hands);
            hands.turnPlanes();
        },
        [&hands, before] {
            const double turned = std::remainder(lineAngle(hands) - *before, 2.0 * std::numbers::pi);
            return std::abs(turned - std::numbers::pi / 6.0) < 1e-6;
        });
}

void planSlab(GuidedTour& tour) {
    auto& hands = tour.hands();
    constexpr double thickness = 15.0;
    const auto slices = std::make_shared<int>(0);
    tour.add(
        QStringLiteral("standard-planes"),
        [&hands, slices] {
            hands.press(Qt::Key_R, Qt::ShiftModifier);
            hands.click(QStringLiteral("rail-slab"));
            if (const auto* axial = hands.find<imaging::PlaneView>(axialView)) {
                const double spacing = axial->navigation().sliceSpacing();
                *slices = 2 * static_cast<int>(std::round((thickness / spacing - 1.0) / 2.0)) + 1;
                hands.type(QStringLiteral("slabCount"), QString::number(*slices));
                QTest::keyClick(hands.visible(QStringLiteral("slabCount")), Qt::Key_Return);
            }
        },
        [] { return true; }, false);
    for (int index = 0; index < imaging::slabModeCount; ++index) {
        const auto mode = static_cast<imaging::SlabMode>(index);
        tour.add(
            QStringLiteral("slab-") + fileName(imaging::slabModeName(mode)),
            [&hands, index] { hands.choose(QStringLiteral("slabMode"), index); },
            [&hands, slices, mode] {
                const auto* axial = hands.find<imaging::PlaneView>(axialView);
                return axial && axial->slabMode() == mode && axial->slabCount() == *slices &&
                       std::abs(axial->thickness() - thickness) <= axial->navigation().sliceSpacing();
            });
    }
    tour.add(
        QStringLiteral("slab-off"),
        [&hands] {
            hands.click(QStringLiteral("rail-slab"));
            hands.press(Qt::Key_C);
        },
        [&hands] {
            const auto* axial = hands.find<imaging::PlaneView>(axialView);
            return axial && axial->slabCount() == 1;
        },
        false);
}

void planWindows(GuidedTour& tour) {
    auto& hands = tour.hands();
    for (const int number : {1, 3}) {
        const WindowPreset& preset = windowPresets[static_cast<std::size_t>(number - 1)];
        tour.add(
            QStringLiteral("window-") + fileName(preset.name),
            [&hands, number] { hands.press(Qt::Key_0 + number); },
            [&hands, status = QString::fromStdString(preset.statusText())] {
                return statusIs(hands, status);
            });
    }
    tour.add(
        QStringLiteral("own-window"), [&hands] { hands.press(Qt::Key_R, Qt::ShiftModifier); },
        [] { return true; }, false);
}

/// Picks an entry of one of the 3D view's lists. The view stays small: without a graphics card, pixels take
/// time.
void planVolumeDisplay(GuidedTour& tour) {
    auto& hands = tour.hands();
    const auto choose =
        [&tour,
         &hands](const QString& kind, const QString& list, int index, std::string_view name, bool picture) {
            const QString status = QStringLiteral("%1: %2  |  GPU rendering").arg(kind, qtText(name));
            tour.add(
                kind.toLower() + QLatin1Char('-') + fileName(name),
                [&hands, list, index] { hands.choose(list, index); },
                [&hands, status] { return statusIs(hands, status); }, picture);
        };
    const auto& presets = imaging::volumePresetNames;
    for (std::size_t index = 0; index < presets.size(); ++index)
        choose(
            QStringLiteral("Preset"), QStringLiteral("volumePreset"), static_cast<int>(index), presets[index],
            true);
    const auto& blends = imaging::volumeBlendModeNames;
    for (const std::size_t index : {1, 2, 3, 0})
        choose(
            QStringLiteral("Blend"), QStringLiteral("volumeBlend"), static_cast<int>(index), blends.at(index),
            index != 0);
}

void planKeys(GuidedTour& tour) {
    auto& hands = tour.hands();
    const QString sheet = QStringLiteral("shortcutSheet");
    tour.add(
        QStringLiteral("keyboard-sheet"), [&hands] { hands.press(Qt::Key_F1); },
        [&hands, sheet] { return hands.visible(sheet) != nullptr; });
    tour.add(
        QStringLiteral("after-keyboard-sheet"),
        [&hands, sheet] {
            if (auto* dialog = hands.visible(sheet))
                QTest::keyClick(dialog, Qt::Key_Escape);
        },
        [&hands, sheet] { return !hands.visible(sheet); }, false);
}

} // namespace

void planWorkspace(GuidedTour& tour) {
    tour.addOpening(QStringLiteral("jaw-again"), QStringLiteral("Jaw"), {}, false);
    planLayouts(tour);
    planOblique(tour);
    planSlab(tour);
    planWindows(tour);
    planVolumeDisplay(tour);
    planKeys(tour);
}

} // namespace zorbel
