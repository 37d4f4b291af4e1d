#include "imaging/planes/OrientationLabels.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zorbel::imaging {

OrientationLabels OrientationLabels::of(const PlaneGeometry& plane) {
    const Vector3& right = plane.axisVector(0);
    const Vector3& down = plane.axisVector(1);
    return {
        orientationLetters(right * -1.0), orientationLetters(right), orientationLetters(down * -1.0),
        orientationLetters(down)};
}

std::string orientationLetters(const Vector3& direction) {
    constexpr double sine20 = 0.3420201433256687;
    constexpr std::array<char, 3> positive{'L', 'P', 'H'};
    constexpr std::array<char, 3> negative{'R', 'A', 'F'};

    const Vector3 unit = normalized(direction);
    std::array<std::size_t, 3> order{0, 1, 2};
    std::stable_sort(order.begin(), order.end(), [&unit](std::size_t a, std::size_t b) {
        return std::abs(unit[a]) > std::abs(unit[b]) + 1e-9;
    });
    std::string letters;
    for (const std::size_t axis : order) {
        if (std::abs(unit[axis]) > sine20)
            letters += unit[axis] > 0.0 ? positive[axis] : negative[axis];
    }
    return letters;
}

std::string oppositeLetters(const std::string& letters) {
    constexpr std::string_view from = "RLAPHF";
    constexpr std::string_view to = "LRPAFH";
    std::string result = letters;
    for (char& letter : result) {
        if (const auto at = from.find(letter); at != std::string_view::npos)
            letter = to[at];
    }
    return result;
}

} // namespace zorbel::imaging
