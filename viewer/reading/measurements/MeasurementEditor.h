#pragma once

#include "viewer/reading/measurements/MeasurementDraft.h"
#include "viewer/reading/measurements/MeasurementList.h"
#include "viewer/reading/measurements/MeasurementView.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zorbel {

/// The mouse in measurement mode: places new measurements and edits those shown. One editor serves all views
/// of the study. One thread.
///
/// A press within 8 pixels of a handle, or 6 of a line, takes hold of the measurement: dragging moves the
/// handle or the whole; a click selects it. Anywhere else the press places a first point. The next points
/// are placed by letting go of the button, so that both ways work: click, move, click; or press, drag and
/// let go. Letting go within 4 pixels of the point before places nothing. A point follows the pointer all the
/// while, also with no button held: forward every move.
class MeasurementEditor {
public:
    static constexpr double handleRadius = 8.0;
    static constexpr double lineRadius = 6.0;
    static constexpr double clickRadius = 4.0;

    struct Outcome {
        /// The editor made use of the event; otherwise it is the caller's.
        bool taken = false;
        /// What is drawn changed: repaint the views.
        bool repaint = false;
        /// For the status bar, one after the other.
        std::vector<std::string> statuses;
    };

    /// What lies under the pointer.
    struct Hit {
        int id = 0; ///< of a measurement; 0 for none
        std::optional<std::size_t> handle;
        friend bool operator==(const Hit&, const Hit&) = default;
    };

    /// The list must outlive the editor.
    explicit MeasurementEditor(MeasurementList& list) : list_(list) {}

    /// What new measurements are; nothing: the mouse does not measure. Another kind ends a draft.
    void setKind(std::optional<MeasurementKind> kind);
    std::optional<MeasurementKind> kind() const { return kind_; }
    /// How a measurement reads in the status bar, on one line.
    void setLabelSource(std::function<std::string(const Measurement&)> labelOf) {
        labelOf_ = std::move(labelOf);
    }

    /// The left button; points are those of the view's widget.
    Outcome press(const MeasurementView& view, const Point2& pointer);
    Outcome move(const MeasurementView& view, const Point2& pointer);
    Outcome release(const MeasurementView& view, const Point2& pointer);
    /// The pointer left the views.
    Outcome leave();

    /// A double-click whose first click began a draft was none of the measurement's: forgets the draft
    /// without a word. Taken where there was one.
    Outcome takeBackFirstPoint();

    /// Escape: ends a draft, "Measurement cancelled"; else gives up a drag; else the selection.
    Outcome cancel();
    /// Delete: as cancel() for a draft; else removes MeasurementList::deletionTarget(), "Measurement
    /// deleted".
    Outcome deleteMeasurement(const std::function<bool(const Measurement&)>& isShown = {});
    /// Another study, or none: forgets drafts and drags without a word.
    void reset();

    /// The measurement being placed, or the dragged one as it is now. Draw it instead of the list's one with
    /// its id (0 while being placed).
    const Measurement* inHand() const;
    bool isPlacing() const { return draft_.has_value(); }
    /// Under the pointer while nothing is in hand: for the cursor and the handles to show.
    const Hit& hovered() const { return hovered_; }
    /// A handle before a line; the nearest of either, and of equally near ones the selected measurement's,
    /// then the one drawn last.
    Hit hitTest(const MeasurementView& view, const Point2& pointer) const;

private:
    struct Drag {
        Measurement before;
        Measurement now;
        std::optional<std::size_t> handle; ///< nothing: the whole
        Point2 pressed;
        imaging::Vector3 grabbed; ///< under the pointer at the press
        bool moved = false;
    };

    Outcome placePoint();
    bool follow(const MeasurementView& view, const Point2& pointer);
    std::string statusOf(const Measurement& measurement) const;

    MeasurementList& list_;
    std::optional<MeasurementKind> kind_;
    std::function<std::string(const Measurement&)> labelOf_;
    std::optional<MeasurementDraft> draft_;
    bool buttonDown_ = false; ///< over the draft
    std::optional<Drag> drag_;
    Hit hovered_;
};

} // namespace zorbel
