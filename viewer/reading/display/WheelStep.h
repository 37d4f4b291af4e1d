#pragma once

namespace zorbel {

/// Voxels that a wheel turned by so many notches moves a plane: one a notch, ten with Shift, a tenth with
/// Alt. Positive (away from the user) is towards the next slice.
constexpr double wheelStep(int notches, bool shift, bool alt) {
    return notches * (shift ? 10.0 : alt ? 0.1 : 1.0);
}

} // namespace zorbel
