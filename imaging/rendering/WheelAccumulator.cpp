#include "imaging/rendering/WheelAccumulator.h"

#include <QWheelEvent>

namespace zorbel::imaging {

int WheelAccumulator::add(const QWheelEvent& event) {
    const QPoint delta = event.angleDelta();
    const int angle = delta.y() != 0 ? delta.y() : delta.x();
    if ((angle > 0) != (rest_ > 0))
        rest_ = 0; // A turn back starts at once.
    rest_ += angle;
    constexpr int anglePerNotch = QWheelEvent::DefaultDeltasPerStep;
    const int notches = rest_ / anglePerNotch;
    rest_ -= notches * anglePerNotch;
    return notches;
}

} // namespace zorbel::imaging
