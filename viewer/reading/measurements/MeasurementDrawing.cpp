#include "viewer/reading/measurements/MeasurementDrawing.h"

#include <algorithm>
#include <array>
#include <optional>

namespace zorbel {

namespace {

using Rect = MeasurementShape::Rect;

constexpr double gap = 10.0;   // from what the label stands beside
constexpr double margin = 4.0; // to the widget's border

/// Around an anchor, the best first.
std::array<Rect, 8> candidates(const Point2& anchor, const Point2& size) {
    const double left = anchor.x - gap - size.x;
    const double right = anchor.x + gap;
    const double above = anchor.y - gap - size.y;
    const double below = anchor.y + gap;
    const double middleX = anchor.x - size.x / 2.0;
    const double middleY = anchor.y - size.y / 2.0;
    return {
        {{{right, below}, size},
         {{right, above}, size},
         {{left, below}, size},
         {{left, above}, size},
         {{right, middleY}, size},
         {{left, middleY}, size},
         {{middleX, below}, size},
         {{middleX, above}, size}}};
}

std::optional<Rect>
clearPlace(const Point2& anchor, const Point2& size, const Rect& room, const std::vector<Rect>& taken) {
    const auto isClear = [&](const Rect& box) {
        return std::none_of(
            taken.begin(), taken.end(), [&](const Rect& other) { return other.overlaps(box); });
    };
    for (const Rect& box : candidates(anchor, size))
        if (room.contains(box) && isClear(box))
            return box;
    return std::nullopt;
}

Rect placed(const Point2& anchor, const Point2& size, const Rect& room, const std::vector<Rect>& taken) {
    if (const auto box = clearPlace(anchor, size, room, taken))
        return *box;
    const auto options = candidates(anchor, size);
    for (const Rect& box : options)
        if (room.contains(box))
            return box;
    // A label larger than the widget shows its beginning.
    const auto pushed = [](double at, double extent, double low, double available) {
        return std::max(std::min(at, low + available - extent), low);
    };
    const Point2 corner = options.front().corner;
    return {
        {pushed(corner.x, size.x, room.corner.x, room.size.x),
         pushed(corner.y, size.y, room.corner.y, room.size.y)},
        size};
}

/// UTF-8. A label must not lie over the whole view.
std::string shortened(const std::string& name) {
    constexpr int most = 32; // characters
    int count = 0;
    for (std::size_t at = 0; at < name.size(); ++at)
        if ((static_cast<unsigned char>(name[at]) & 0xC0U) != 0x80U && ++count > most)
            return name.substr(0, at) + "…";
    return name;
}

MeasurementPicture
pictureOf(const Measurement& measurement, const MeasurementView& view, bool inHand, bool hovered) {
    MeasurementPicture picture;
    picture.id = measurement.id;
    picture.shape = MeasurementShape::of(measurement, view);
    picture.isInHand = inHand;
    picture.showsHandles = inHand || hovered;
    picture.lineColour = inHand ? MeasurementDrawing::inHandColour : MeasurementDrawing::lineColour;
    picture.name = shortened(measurement.label);
    picture.labelColour = inHand ? MeasurementDrawing::inHandColour : MeasurementDrawing::labelColour;
    return picture;
}

/// Those in hand first, then in drawing order.
void placeLabels(
    std::vector<MeasurementPicture>& pictures, const MeasurementView& view,
    const MeasurementDrawing::SizeOf& sizeOf) {
    const Rect widget{{0.0, 0.0}, {view.width, view.height}};
    const Rect room{{margin, margin}, {view.width - 2.0 * margin, view.height - 2.0 * margin}};
    std::vector<Rect> taken;
    for (const bool inHand : {true, false}) {
        for (MeasurementPicture& picture : pictures) {
            if (picture.isInHand != inHand || picture.label.empty())
                continue;
            if (!widget.overlaps(picture.shape.bounds())) {
                picture.label.clear();
                continue;
            }
            const Point2& anchor = picture.shape.labelAnchor;
            const std::string named = picture.name + "\n" + picture.label;
            const auto box =
                picture.name.empty() ? std::nullopt : clearPlace(anchor, sizeOf(named), room, taken);
            if (box)
                picture.label = named;
            picture.labelBox = box ? *box : placed(anchor, sizeOf(picture.label), room, taken);
            taken.push_back(picture.labelBox);
        }
    }
}

} // namespace

std::vector<MeasurementPicture> MeasurementDrawing::of(
    const MeasurementList& list, const MeasurementEditor& editor, const MeasurementView& view,
    const LabelOf& labelOf, const SizeOf& sizeOf) {
    std::vector<MeasurementPicture> pictures;
    const auto add = [&](const Measurement& measurement, bool inHand) {
        pictures.push_back(pictureOf(measurement, view, inHand, measurement.id == editor.hovered().id));
        pictures.back().label = labelOf(measurement);
    };
    const Measurement* inHand = editor.inHand();
    for (const Measurement* measurement : list.shownOn(view.plane))
        if (!inHand || measurement->id != inHand->id)
            add(*measurement, measurement->id == list.selected());
    // A draft is seen in its own view, also where that was scrolled since.
    if (inHand && view.plane.isParallelTo(*inHand))
        add(*inHand, true);
    placeLabels(pictures, view, sizeOf);
    return pictures;
}

} // namespace zorbel
