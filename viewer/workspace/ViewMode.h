#pragma once

namespace zorbel {

/// What the viewports show: nothing, a volume in three planes and 3D, or one 2D image.
enum class ViewMode { None = 0, Mpr = 1, TwoD = 2 };

} // namespace zorbel
