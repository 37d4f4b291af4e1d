#pragma once

#include <cstdint>
#include <vector>

namespace zorbel::demo {

class JawPhantom;

/// A 12-bit radiograph: 0 where nothing stops the rays.
struct Radiograph {
    int columns = 0;
    int rows = 0;
    double pixelSpacing =
        0; ///< mm in the patient for the panoramic image, at the detector for the cephalogram
    std::vector<std::uint16_t> pixels;
};

/// Unrolls the jaws along a curve through both arches, rays perpendicular to it; the patient's right on the
/// left.
Radiograph panoramicImage(const JawPhantom& phantom);

/// Lateral view from a point source 1500 mm to the patient's right of the midline, detector 150 mm to the
/// left of it; the face looks to the right.
Radiograph cephalometricImage(const JawPhantom& phantom);
/// How much larger than life the midline appears on the detector.
inline constexpr double cephalometricMagnification = 1.1;

} // namespace zorbel::demo
