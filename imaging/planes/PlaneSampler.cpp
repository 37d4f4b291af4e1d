#include "imaging/planes/PlaneSampler.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zorbel::imaging {

namespace {

enum class Place { Inside, Across, Outside };

/// Where the box of a tile's samples lies in the volume.
Place placeOf(const kernel::VoxelGrid& grid, const kernel::Tile& tile) {
    constexpr int pixelsAtOnce = 8;
    const int width = (tile.width + pixelsAtOnce - 1) / pixelsAtOnce * pixelsAtOnce;
    bool inside = true;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double low = tile.first[axis];
        double high = low;
        for (const double extent :
             {tile.right[axis] * (width - 1), tile.down[axis] * (tile.height - 1),
              tile.deep[axis] * (tile.planes - 1)}) {
            low += std::min(extent, 0.0);
            high += std::max(extent, 0.0);
        }
        if (high < -0.5 || low > grid.size[axis] - 0.5)
            return Place::Outside;
        const double rounding = 1e-3 + 1e-5 * (high - low); // of indices in single precision
        inside = inside && low >= rounding && high <= grid.size[axis] - 1.0 - rounding;
    }
    return inside ? Place::Inside : Place::Across;
}

} // namespace

Vector3 PlaneFrame::pixelToWorld(double x, double y) const {
    return plane.fromPlane(
        (x + 0.5 - width / 2.0) * millimetresPerPixel, (y + 0.5 - height / 2.0) * millimetresPerPixel);
}

PlaneSampler::PlaneSampler(std::shared_ptr<const Image> image, Code code) : image_(std::move(image)) {
    const auto& size = image_->geometry().dimensions();
    grid_.voxels = image_->voxels().data();
    grid_.byteLength = image_->voxels().size();
    grid_.size = size;
    grid_.stride[0] = image_->components();
    grid_.stride[1] = grid_.stride[0] * size[0];
    grid_.stride[2] = grid_.stride[1] * size[1];
    draw_ = code == Code::Fastest ? kernel::vectorised(image_->voxelType(), grid_) : nullptr;
    if (!draw_)
        draw_ = kernel::portable(image_->voxelType());
}

void PlaneSampler::sampleTile(const PlaneFrame& frame, std::size_t number, PlaneValues& values) const {
    const ImageGeometry& geometry = image_->geometry();
    const auto across = static_cast<std::size_t>((frame.width + tileSide - 1) / tileSide);
    const int left = static_cast<int>(number % across) * tileSide;
    const int top = static_cast<int>(number / across) * tileSide;
    // The grid is affine: a step in the patient is the same step in indices everywhere.
    const auto step = [&](const Vector3& direction, double millimetres) {
        return geometry.worldToIndex(geometry.origin() + direction * millimetres);
    };

    kernel::Tile tile;
    tile.mode = frame.slab.mode;
    tile.planes = std::max(frame.slab.count, 1);
    tile.right = step(frame.plane.axisVector(0), frame.millimetresPerPixel);
    tile.down = step(frame.plane.axisVector(1), frame.millimetresPerPixel);
    tile.deep = step(frame.plane.normal(), frame.slab.spacing);
    tile.first = geometry.worldToIndex(frame.pixelToWorld(left, top)) - tile.deep * ((tile.planes - 1) / 2.0);
    tile.width = std::min(tileSide, frame.width - left);
    tile.height = std::min(tileSide, frame.height - top);
    tile.out = values.row(top) + left;
    tile.outStride = frame.width;

    const Place place = placeOf(grid_, tile);
    if (place == Place::Outside) {
        for (int y = 0; y < tile.height; ++y)
            std::fill_n(tile.out + y * tile.outStride, tile.width, std::numeric_limits<float>::quiet_NaN());
        return;
    }
    tile.interior = place == Place::Inside;
    draw_(grid_, tile);
}

LevelWindow windowForSlab(const LevelWindow& window, const Slab& slab) {
    if (slab.mode != SlabMode::Sum || slab.count <= 1)
        return window;
    LevelWindow scaled = window;
    // LINEAR counts in whole units, which scaled values are not.
    if (window.function == VoiFunction::Linear && window.width >= 1.0) {
        scaled.function = VoiFunction::LinearExact;
        scaled.center -= 0.5;
        scaled.width -= 1.0;
    }
    scaled.center *= std::sqrt(slab.count);
    scaled.width *= std::sqrt(slab.count);
    return scaled;
}

} // namespace zorbel::imaging
