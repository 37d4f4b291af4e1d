#include "viewer/reading/measurements/VoxelSampler.h"

#include "imaging/display/VisitVoxels.h"
#include "imaging/planes/TrilinearSample.h"
#include "viewer/reading/records/Measurement.h"

#include <cmath>
#include <type_traits>

namespace zorbel {

using imaging::Vector3;

VoxelSampler::VoxelSampler(std::shared_ptr<const imaging::Image> image)
    : image_(std::move(image)), grid_(*image_) {
    const auto& size = image_->geometry().dimensions();
    voxels_.voxels = image_->voxels().data();
    voxels_.byteLength = image_->voxels().size();
    voxels_.size = size;
    voxels_.stride[0] = image_->components();
    voxels_.stride[1] = voxels_.stride[0] * size[0];
    voxels_.stride[2] = voxels_.stride[1] * size[1];
    for (int slice = 0; image_->isSet() && slice < size[2]; ++slice)
        members_.emplace_back(image_->member(slice));
}

std::optional<double> VoxelSampler::valueAt(const Vector3& point) const {
    return valueAtIndex(image_->geometry().worldToIndex(point));
}

std::optional<double> VoxelSampler::valueAtIndex(const Vector3& index) const {
    if (image_->components() != 1)
        return std::nullopt;
    double value = 0.0;
    const bool inside = imaging::visitVoxels(*image_, [&](const auto* voxels, std::size_t) {
        using T = std::remove_cv_t<std::remove_pointer_t<decltype(voxels)>>;
        return imaging::kernel::trilinear<T>(voxels_, index, value);
    });
    if (!inside || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<double> VoxelSampler::valueOnImage(const Vector3& point, int slice) const {
    if (image_->isSet()) {
        const auto index = static_cast<std::size_t>(slice);
        return slice >= 0 && index < members_.size() ? members_[index].valueOnImage(point, 0) : std::nullopt;
    }
    const Point2 pixel = grid_.toPixel(point);
    return valueAtIndex({pixel.x, pixel.y, static_cast<double>(slice)});
}

std::optional<double> VoxelSampler::valueFor(const Measurement& measurement, const Vector3& point) const {
    if (!measurement.isOnImage())
        return valueAt(point);
    return valueOnImage(point, measurement.slice);
}

} // namespace zorbel
