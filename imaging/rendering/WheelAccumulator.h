#pragma once

class QWheelEvent;

namespace zorbel::imaging {

/// Turns wheel events into whole notches: collects the small steps of high-resolution wheels and touchpads,
/// and reads the horizontal angle where Qt has turned a wheel with Alt held into a horizontal one.
class WheelAccumulator {
public:
    /// Whole notches since the last call, positive away from the user; 0 while a notch is not complete.
    int add(const QWheelEvent& event);

private:
    int rest_ = 0; ///< eighths of a degree
};

} // namespace zorbel::imaging
