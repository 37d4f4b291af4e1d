#pragma once

#include "imaging/Image.h"
#include "imaging/VoiTransform.h"
#include "imaging/geometry/PlaneGeometry.h"
#include "imaging/planes/PictureSampler.h"
#include "imaging/planes/PlaneKernel.h"
#include "imaging/planes/PlaneValues.h"
#include "imaging/planes/Slab.h"

#include <cstddef>
#include <memory>

namespace zorbel::imaging {

/// Computes planes and slabs through an image: trilinear interpolation between the voxels of any grid,
/// sheared and left-handed ones included; the outer half of the border voxels has their value. Of an image of
/// several components it shows the first. Immutable; any thread.
///
/// A slab's value is the largest, the mean, the smallest or the plain sum of the samples that lie inside the
/// volume. Values are single precision, which holds the whole numbers up to 2^24 exactly.
class PlaneSampler : public PictureSampler {
public:
    /// Portable: without the processor's wide instructions, for comparison.
    enum class Code { Fastest, Portable };

    explicit PlaneSampler(std::shared_ptr<const Image> image, Code code = Code::Fastest);

    const Image& image() const { return *image_; }

    void sampleTile(const PlaneFrame& frame, std::size_t tile, PlaneValues& values) const override;

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
