#pragma once

#include "viewer/reading/measurements/MeasurementEditor.h"
#include "viewer/reading/measurements/MeasurementShape.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace zorbel {

/// What to paint for one measurement: logical pixels of the widget.
struct MeasurementPicture {
    int id = 0; ///< 0 of the one being placed
    MeasurementShape shape;
    bool isInHand = false;        ///< being placed or dragged, or selected
    bool showsHandles = false;    ///< so is one under the pointer
    std::uint32_t lineColour = 0; ///< 0xRRGGBB, of lines and handles
    std::uint32_t labelColour = 0;
    std::string name;                ///< the reader's own, shortened; may be empty
    std::string label;               ///< lines separated by \n; empty where there is none to paint
    MeasurementShape::Rect labelBox; ///< where the label goes
};

/// Decides what the measurements in a view look like, so that the widget only strokes lines and writes texts.
/// One thread.
class MeasurementDrawing {
public:
    static constexpr std::uint32_t lineColour = 0xBFE4FF;
    static constexpr std::uint32_t labelColour = 0xDCEEFF;
    static constexpr std::uint32_t inHandColour = 0xFFD93D;
    static constexpr const char* labelFont = "Consolas";

    using LabelOf = std::function<std::string(const Measurement&)>;
    /// Width and height of a text of several lines in the label's font.
    using SizeOf = std::function<Point2(const std::string&)>;

    /// Those that lie in the view in drawing order, then the one in hand.
    /// A label is what `labelOf` says, under the reader's own name for the measurement where there is room
    /// for that. Labels stand beside their measurement, within the widget and, where there is room, clear of
    /// each other; the label of the one in hand is placed first. A measurement that is scrolled or zoomed out
    /// of the widget has none.
    static std::vector<MeasurementPicture>
    of(const MeasurementList& list, const MeasurementEditor& editor, const MeasurementView& view,
       const LabelOf& labelOf, const SizeOf& sizeOf);
};

} // namespace zorbel
