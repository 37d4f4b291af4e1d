#pragma once

#include "imaging/geometry/PlaneGeometry.h"
#include "imaging/planes/Slab.h"

namespace zorbel::imaging {

/// Which picture of an image is wanted. Value type.
struct PlaneFrame {
    PlaneGeometry plane; ///< its centre is the middle of the picture; LPS millimetres
    double millimetresPerPixel = 1.0;
    int width = 0; ///< pixels, along the plane's axis 0
    int height = 0;
    Slab slab;

    /// Centre of a pixel; (0, 0) is the upper left one.
    Vector3 pixelToWorld(double x, double y) const;

    friend bool operator==(const PlaneFrame&, const PlaneFrame&) = default;
};

} // namespace zorbel::imaging
