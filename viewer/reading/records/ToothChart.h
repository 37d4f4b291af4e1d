#pragma once

#include <array>

namespace zorbel {

/// The FDI codes as a dental chart shows them: the patient seen from the front, so that his right is on the
/// left of the screen; each row from left to right, the midline in its middle.
struct ToothChart {
    static constexpr std::array<int, 16> upperPermanent{18, 17, 16, 15, 14, 13, 12, 11,
                                                        21, 22, 23, 24, 25, 26, 27, 28};
    static constexpr std::array<int, 16> lowerPermanent{48, 47, 46, 45, 44, 43, 42, 41,
                                                        31, 32, 33, 34, 35, 36, 37, 38};
    static constexpr std::array<int, 10> upperPrimary{55, 54, 53, 52, 51, 61, 62, 63, 64, 65};
    static constexpr std::array<int, 10> lowerPrimary{85, 84, 83, 82, 81, 71, 72, 73, 74, 75};
};

} // namespace zorbel
