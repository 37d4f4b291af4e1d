#include "GuidedTour.h"
#include "TourStops.h"

#include "imaging/rendering/ImageView2D.h"

#include <functional>
#include <memory>
#include <utility>

namespace zorbel {

namespace {

using imaging::OrientationLabels;

struct Turn {
    QString name;
    QString button;
    QString chip;
    std::function<OrientationLabels(const OrientationLabels&)> letters; ///< from those of the upright image
};

OrientationLabels lettersOf(const TourHands& hands) {
    const auto* view = hands.find<imaging::ImageView2D>(QStringLiteral("imageView"));
    return view ? view->orientationLabels() : OrientationLabels();
}

OrientationLabels exchanged(OrientationLabels letters, bool leftRight, bool topBottom) {
    if (leftRight)
        std::swap(letters.left, letters.right);
    if (topBottom)
        std::swap(letters.top, letters.bottom);
    return letters;
}

/// Turns the shown image in each way by itself, and back after it.
void planTurns(GuidedTour& tour, const QString& image) {
    auto& hands = tour.hands();
    const std::vector<Turn> turns{
        {QStringLiteral("mirrored"), QStringLiteral("rail-flip-horizontal"),
         QStringLiteral("Mirrored left / right"),
         [](const OrientationLabels& letters) { return exchanged(letters, true, false); }},
        {QStringLiteral("flipped"), QStringLiteral("rail-flip-vertical"),
         QStringLiteral("Flipped top / bottom"),
         [](const OrientationLabels& letters) { return exchanged(letters, false, true); }},
        {QStringLiteral("rotated"), QStringLiteral("rail-rotate-180"), QStringLiteral("Rotated 180°"),
         [](const OrientationLabels& letters) { return exchanged(letters, true, true); }}};
    const auto upright = std::make_shared<OrientationLabels>();
    for (const Turn& turn : turns) {
        tour.add(
            image + QLatin1Char('-') + turn.name,
            [&hands, upright, turn] {
                *upright = lettersOf(hands);
                hands.click(turn.button);
            },
            [&hands, upright, turn] {
                return !upright->left.empty() && lettersOf(hands) == turn.letters(*upright) &&
                       hands.text(QStringLiteral("orientationChip")) == turn.chip;
            });
        tour.add(
            QStringLiteral("turned-back"), [&hands, turn] { hands.click(turn.button); },
            [&hands, upright] { return lettersOf(hands) == *upright; }, false);
    }
    tour.add(
        image + QStringLiteral("-inverted"), [&hands] { hands.press(Qt::Key_I); },
        [&hands, upright] {
            return lettersOf(hands) == *upright &&
                   hands.text(QStringLiteral("toneChip")) == QStringLiteral("Inverted tones");
        });
}

} // namespace

void planImages(GuidedTour& tour) {
    tour.addOpening(QStringLiteral("panoramic"), QStringLiteral("Panoramic"));
    planTurns(tour, QStringLiteral("panoramic"));
    tour.addOpening(QStringLiteral("cephalometric"), QStringLiteral("Cephalometric"));
    planTurns(tour, QStringLiteral("cephalometric"));
}

} // namespace zorbel
