#pragma once

#include "imaging/VoiTransform.h"

namespace zorbel {

/// A drag with the window/level tool, from its press on. To the right the window gets wider, upwards the
/// picture gets brighter (the level falls). A pixel changes width and level by one value, for windows wider
/// than 256 values by a 256th of the width, so that narrow windows are set finely and wide ones quickly;
/// images whose values span less than 256 move in 256ths of their range. What a drag gives depends only on
/// where the pointer is: back at the start the window is as it was. Value type; any thread.
class WindowDrag {
public:
    /// start: the window at the press. minimum, maximum: of the image's values.
    WindowDrag(const imaging::LevelWindow& start, double minimum, double maximum);

    /// The window for the pointer this many logical pixels right of and below the press. The width stays
    /// between 1 (for other shapes than LINEAR of images finer than that: one pixel's worth) and twice the
    /// image's range, the level within the image's range, unless the start was beyond.
    imaging::LevelWindow at(double right, double down) const;

private:
    imaging::LevelWindow start_;
    double unit_ = 1.0; ///< one pixel's worth in a narrow window
    double narrowest_ = 1.0;
    double widest_ = 1.0;
    double lowest_ = 0.0;
    double highest_ = 0.0;
};

} // namespace zorbel
