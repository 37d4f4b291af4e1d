#pragma once

#include "imaging/Image.h"
#include "imaging/planes/PlaneKernel.h"
#include "viewer/reading/measurements/ImageGrid2D.h"

#include <memory>
#include <optional>
#include <vector>

namespace zorbel {

struct Measurement;

/// Reads values between the voxels of an image: trilinear in its own grid, sheared and left-handed ones
/// included, exactly as the planes show them. The outer half of the border voxels has their value; beyond the
/// voxels' borders there is none. Nor is there one of a colour image, or next to a voxel that is not a
/// number. Immutable; any thread.
class VoxelSampler {
public:
    /// The image must not be null.
    explicit VoxelSampler(std::shared_ptr<const imaging::Image> image);

    const imaging::Image& image() const { return *image_; }
    /// At a world point, LPS millimetres.
    std::optional<double> valueAt(const imaging::Vector3& point) const;
    /// At a fractional voxel index.
    std::optional<double> valueAtIndex(const imaging::Vector3& index) const;
    /// At a point given as the measurement's own points are.
    std::optional<double> valueFor(const Measurement& measurement, const imaging::Vector3& point) const;

private:
    /// At a point of a 2D image's grid.
    std::optional<double> valueOnImage(const imaging::Vector3& point, int slice) const;

    std::shared_ptr<const imaging::Image> image_;
    ImageGrid2D grid_;
    imaging::kernel::VoxelGrid voxels_;
    std::vector<VoxelSampler> members_; ///< of a set, one a slice
};

} // namespace zorbel
