#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"
#include "imaging/geometry/PlaneGeometry.h"
#include "imaging/planes/PlaneKernel.h"
#include "imaging/planes/PlaneValues.h"
#include "imaging/planes/Slab.h"

#include <cstddef>
#include <memory>

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

/// Computes planes and slabs through an image: trilinear interpolation between the voxels of any grid,
/// sheared and left-handed ones included; the outer half of the border voxels has their value. Of an image of
/// several components it shows the first. Immutable; any thread.
///
/// A slab's value is the largest, the mean, the smallest or the plain sum of the samples that lie inside the
/// volume. Values are single precision, which holds the whole numbers up to 2^24 exactly.
class PlaneSampler {
public:
    /// Portable: without the processor's wide instructions, for comparison.
    enum class Code { Fastest, Portable };

    explicit PlaneSampler(std::shared_ptr<const Image> image, Code code = Code::Fastest);

    const Image& image() const { return *image_; }

    /// A picture is made of tiles that can be computed in any order and by any thread.
    static std::size_t tileCount(const PlaneFrame& frame);
    /// values must have the frame's size.
    void sampleTile(const PlaneFrame& frame, std::size_t tile, PlaneValues& values) const;
    /// The whole picture, on all cores of TilePool::shared(); waits for it.
    void sample(const PlaneFrame& frame, PlaneValues& values) const;

private:
    std::shared_ptr<const Image> image_;
    kernel::VoxelGrid grid_;
    kernel::DrawTile draw_;
};

/// The window to show a slab's values with when the reader has set `window`: for Sum its centre and width
/// grow with the square root of the number of planes. The noise then looks as strong as in a single plane,
/// and what goes through the whole slab stands out of it the more, the thicker the slab.
LevelWindow windowForSlab(const LevelWindow& window, const Slab& slab);

} // namespace zorbel::imaging
