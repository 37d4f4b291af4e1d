#pragma once

#include "imaging/Image.h"

#include <atomic>
#include <memory>

namespace zorbel::imaging {

/// A copy in which the air around the patient, with the skin's edge, has another value.
struct WithoutOutsideAir {
    std::shared_ptr<const Image> image; ///< null when cancelled
    double outside = 0.0;               ///< the value put there; above all tissue as far as the type allows
};

/// For projections of the least value, which would show nothing but that air. Outside is what is seen from
/// the borders along rows and columns, and from the top: airways, mouth and sinuses stay. airBelow parts air
/// from tissue, high is the upper end of the values that count. One component; blocks.
WithoutOutsideAir withoutOutsideAir(
    const Image& image, double airBelow, double high, const std::atomic<bool>* cancel = nullptr);

} // namespace zorbel::imaging
