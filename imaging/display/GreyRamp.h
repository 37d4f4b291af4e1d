#pragma once

#include "imaging/VoiTransform.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zorbel::imaging {

/// Maps values to the grey pixels of the screen as applyWindow() does, fast enough for every frame of a
/// window drag. Immutable; any thread.
class GreyRamp {
public:
    /// inverted: low values white.
    GreyRamp(const LevelWindow& window, bool inverted);

    /// Pixels are 0xFFRRGGBB; a value that is no number becomes black, inverted or not.
    void map(const float* values, std::size_t count, std::uint32_t* pixels) const;

private:
    void buildCurve(const LevelWindow& window);

    bool inverted_;
    float center_ = 0.0F;
    float slope_ = 0.0F;  ///< greys, 0 to 255, a unit
    float offset_ = 0.0F; ///< grey at the centre, and a half for rounding
    /// For a sigmoid: greys of equidistant values about the centre, below them one for values that are no
    /// numbers; slope_ and offset_ then lead to its entries.
    std::vector<std::uint32_t> curve_;
};

} // namespace zorbel::imaging
