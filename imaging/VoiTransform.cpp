#include "imaging/VoiTransform.h"

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

double linear(double center, double width, double value) {
    // The smallest width the standard allows is 1: a threshold.
    const double span = std::max(width, 1.0) - 1.0;
    const double middle = center - 0.5;
    if (value <= middle - span / 2.0)
        return 0.0;
    if (value > middle + span / 2.0)
        return 1.0;
    return (value - middle) / span + 0.5;
}

double linearExact(double center, double width, double value) {
    if (value <= center - width / 2.0)
        return 0.0;
    if (value > center + width / 2.0)
        return 1.0;
    return (value - center) / width + 0.5;
}

} // namespace

double applyWindow(const LevelWindow& window, double value) {
    switch (window.function) {
    case VoiFunction::LinearExact:
        return linearExact(window.center, std::max(window.width, 0.0), value);
    case VoiFunction::Sigmoid:
        if (window.width <= 0.0)
            return value > window.center ? 1.0 : 0.0;
        return 1.0 / (1.0 + std::exp(-4.0 * (value - window.center) / window.width));
    case VoiFunction::Linear:
        break;
    }
    return linear(window.center, window.width, value);
}

double applyTable(const VoiTable& table, double value) {
    if (table.entries.empty())
        return 0.0;
    const double last = static_cast<double>(table.entries.size() - 1);
    // Written so that a value that is no number takes the first entry.
    const double offset = std::round(value - table.firstMapped);
    const double index = offset > 0.0 ? std::min(offset, last) : 0.0;
    const unsigned bits = std::clamp(table.bits, 1U, 16U);
    const double full = static_cast<double>((1U << bits) - 1U);
    return std::min(table.entries[static_cast<std::size_t>(index)] / full, 1.0);
}

} // namespace zorbel::imaging
