#pragma once

#include "demo/phantom/Shapes.h"

namespace zorbel::demo {

/// Grey values of the materials, as a CBCT device shows them.
namespace grey {
inline constexpr float air = -1000;
inline constexpr float fat = -90;
inline constexpr float skin = 20;
inline constexpr float muscle = 60;
inline constexpr float nerve = 90;
inline constexpr float pulp = 150;
inline constexpr float cancellous = 380;
inline constexpr float cortical = 1350;
inline constexpr float dentin = 1650;
inline constexpr float enamel = 2750;
inline constexpr float titanium = 3700;
inline constexpr float ceramic = 3100;
inline constexpr float amalgam = 4800;
} // namespace grey

/// One anatomical part: paints itself over what lies at a point.
class Structure {
public:
    explicit Structure(Bounds bounds) : bounds_(bounds) {}
    virtual ~Structure() = default;

    const Bounds& bounds() const { return bounds_; }
    /// Only called inside the bounds. `voxel` is the size over which edges are softened, `value` the grey so
    /// far.
    virtual void paint(Point p, float voxel, float& value) const = 0;

private:
    Bounds bounds_;
};

} // namespace zorbel::demo
