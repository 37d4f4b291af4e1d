#pragma once

#include "demo/phantom/Shapes.h"

namespace zorbel::demo {

/// Measures that several structures share, millimetres in LPS. The occlusal plane is z = 0.
namespace anatomy {

/// The tooth arches are parabolas y = apex + curvature · x².
inline constexpr float archCurvature = 0.046F;
inline constexpr float upperArchApex = -51.5F;
inline constexpr float lowerArchApex = -48.7F;

/// Crests of the alveolar bone.
inline constexpr float upperCrest = 9.0F;
inline constexpr float lowerCrest = -9.5F;

inline constexpr Point leftCondyle{50.0F, 37.0F, 29.0F};
inline constexpr Point leftSinus{27.5F, -7.0F, 36.0F};
inline constexpr Point tongue{0.0F, -8.0F, -9.0F};

/// Height of the palate's lower surface at a distance inside (negative) the upper arch.
inline float palateHeight(float archDistance) {
    const float inside = std::max(-5.0F - archDistance, 0.0F);
    return upperCrest + 9.5F * (1 - std::exp(-inside / 5.0F));
}

} // namespace anatomy

} // namespace zorbel::demo
