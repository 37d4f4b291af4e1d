#pragma once

#include "imaging/Image.h"

namespace zorbel::imaging {

/// Where the tissues lie among an image's grey values. Cone beam scanners give each its own scale and offset
/// (0 to 4095, -1000 to 3095, 0 to 65535), so that a look made for Hounsfield units must be carried over to
/// the values at hand: valueOf() does, along a line through the tissues found.
struct TissueScale {
    double air = -1000.0;
    double soft = 40.0;
    double bone = 450.0;   ///< halfway from soft tissue to bone
    double dense = 1300.0; ///< cortical bone
    double low = -1000.0;  ///< the values' range without outliers and padding
    double high = 2500.0;

    /// With Hounsfield units: these themselves. Otherwise found in the histogram: two cuts by Otsu's method
    /// (N. Otsu, 1979) part air, soft tissue and bone; an isolated lowest value, as scanners fill the corners
    /// around their field of view with, is left out. Ascends strictly also for an image of one value alone.
    static TissueScale of(const Image& image);

    /// The grey value that stands for these Hounsfield units.
    double valueOf(double hounsfield) const;
    /// Grey values for one Hounsfield unit, between soft tissue and dense bone.
    double slope() const;
};

} // namespace zorbel::imaging
