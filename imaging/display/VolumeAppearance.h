#pragma once

#include "imaging/Image.h"

#include <vector>

namespace zorbel::imaging {

/// How values become colour and opacity in the 3D view. Points ascend in value; between them both are
/// interpolated, outside the outermost points hold. Colours and opacity are 0 to 1, opacity for one voxel's
/// length.
struct VolumeAppearance {
    struct Point {
        double value = 0.0;
        double red = 0.0;
        double green = 0.0;
        double blue = 0.0;
        double opacity = 0.0;
    };
    std::vector<Point> points;

    double ambient = 0.25;
    double diffuse = 0.65;
    double specular = 0.25;
    double specularPower = 18.0;
};

/// Bone and teeth well visible, soft tissue transparent. With Hounsfield units at fixed values; otherwise
/// (cone beam grey values, other modalities) at values that two cuts by Otsu's method find between air, soft
/// tissue and bone.
VolumeAppearance boneAppearance(const Image& image);

} // namespace zorbel::imaging
