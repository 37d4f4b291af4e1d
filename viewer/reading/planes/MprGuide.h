#pragma once

#include "viewer/reading/planes/GuideEvent.h"
#include "viewer/reading/planes/GuideLine.h"

#include <array>
#include <optional>

namespace zorbel {

/// How the guide of a plane reads the mouse.
enum class GuideMode {
    None, ///< not at all: another tool has it
    Crosshair,
    Rotate,
};

/// The guide over one plane's view: the lines of the two other planes, their handles, the centre, and what
/// dragging them with the left button means. All positions are logical pixels of the widget. The widget
/// forwards its mouse events, hands GuideEvents on, and paints after handles(), hitTest() and grabbed(). One
/// thread.
class MprGuide {
public:
    /// What the guide lies over. May change during a drag, as it does while the crosshair moves.
    struct View {
        double width = 0.0;
        double height = 0.0;
        Point2 center; ///< the crosshair
        std::array<GuideLine, 2> lines{};
        bool active = false; ///< a volume is shown; otherwise the guide ignores the mouse
        bool linesVisible = true;
    };

    /// What lies under the pointer.
    struct Hit {
        enum class Kind { None, Center, RotationHandle, SlabHandle, LineBody };
        Kind kind = Kind::None;
        int line = 0; ///< index in View::lines
        int side = 1; ///< of a handle: +1 the one towards +direction, −1 the opposite one
        friend bool operator==(const Hit&, const Hit&) = default;
    };

    enum class DragState { None, Rotate, Slab, MoveLine, MoveCenter };

    /// Where a line's handles are; [0] towards +direction.
    struct Handles {
        std::array<Point2, 2> rotation{};
        std::array<Point2, 2> slab{};
    };

    /// Ends a drag where the view is not active.
    void setView(const View& view);
    const View& view() const { return view_; }
    /// Ends a drag where the mode changes.
    void setMode(GuideMode mode);
    GuideMode mode() const { return mode_; }

    /// index: 0 or 1.
    Handles handles(int index) const;
    /// What a press at this point would take hold of. In crosshair mode the centre within 24 pixels. In
    /// rotate mode with visible lines the nearest handle within 11.5 pixels (of equally near ones the later:
    /// second line, slab handles); else, more than 24 pixels from the centre, the first line within 6.
    Hit hitTest(const Point2& pointer) const;

    /// The left button went down. It was taken, and the mouse event is accepted, where dragState() is not
    /// None afterwards; otherwise it belongs to the view below. Taking hold of the centre moves the
    /// crosshair at once.
    std::optional<GuideEvent> press(const Point2& pointer);
    /// snap: Shift is held; a rotation goes to the nearest multiple of 15° from the drag's start.
    std::optional<GuideEvent> move(const Point2& pointer, bool snap);
    /// The left button went up, or its release will never come: ends any drag.
    void cancel();

    DragState dragState() const { return drag_; }
    /// What the drag holds; None without one.
    const Hit& grabbed() const { return grabbed_; }
    /// Of the rotation drag: turned so far, radians.
    double appliedAngle() const { return applied_; }

private:
    std::optional<GuideEvent> rotate(const Point2& pointer, bool snap);
    double pointerAngle(const Point2& pointer) const;
    Point2 acrossGrabbedLine() const;

    View view_;
    GuideMode mode_ = GuideMode::None;
    DragState drag_ = DragState::None;
    Hit grabbed_;
    View pressedView_; ///< as it was at the press: what moves during the drag is measured from there
    Point2 pressed_;
    double lastAngle_ = 0.0;
    double accumulated_ = 0.0;
    double applied_ = 0.0;
};

} // namespace zorbel
