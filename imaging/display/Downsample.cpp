#include "imaging/display/Downsample.h"

#include "base/WorkerPool.h"
#include "imaging/display/VisitVoxels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

namespace zorbel::imaging {

namespace {

struct Size {
    std::size_t columns, rows, slices;
};

Size sizeOf(const std::array<int, 3>& dimensions) {
    return {
        static_cast<std::size_t>(dimensions[0]), static_cast<std::size_t>(dimensions[1]),
        static_cast<std::size_t>(dimensions[2])};
}

/// Sums of one coarse slice, row by row in storage order.
template <class T>
void averageSlice(
    const T* voxels, const Size& from, const Size& to, const std::array<int, 3>& factors, std::size_t slice,
    const std::pair<double, double>& padding, double empty, float* out) {
    std::vector<float> sums(to.columns * to.rows, 0.0F);
    std::vector<float> counts(to.columns * to.rows, 0.0F);
    const auto factor = sizeOf(factors);
    const auto paddingLow = static_cast<float>(padding.first);
    const auto paddingHigh = static_cast<float>(padding.second);
    const std::size_t lastSlice = std::min(from.slices, (slice + 1) * factor.slices);
    for (std::size_t z = slice * factor.slices; z < lastSlice; ++z) {
        for (std::size_t y = 0; y < from.rows; ++y) {
            const T* row = voxels + (z * from.rows + y) * from.columns;
            float* rowSums = sums.data() + (y / factor.rows) * to.columns;
            float* rowCounts = counts.data() + (y / factor.rows) * to.columns;
            for (std::size_t x = 0, target = 0; x < from.columns; ++target) {
                for (const std::size_t end = std::min(from.columns, x + factor.columns); x < end; ++x) {
                    const auto value = static_cast<float>(row[x]);
                    const bool counted =
                        !(value >= paddingLow && value <= paddingHigh) && std::isfinite(value);
                    rowSums[target] += counted ? value : 0.0F;
                    rowCounts[target] += counted ? 1.0F : 0.0F;
                }
            }
        }
    }
    for (std::size_t index = 0; index < sums.size(); ++index)
        out[index] = counts[index] > 0.0F ? sums[index] / counts[index] : static_cast<float>(empty);
}

ImageGeometry coarserGeometry(
    const ImageGeometry& fine, const std::array<int, 3>& dimensions, const std::array<int, 3>& factors) {
    const Vector3 origin =
        fine.indexToWorld({(factors[0] - 1) / 2.0, (factors[1] - 1) / 2.0, (factors[2] - 1) / 2.0});
    const Vector3& spacing = fine.spacing();
    return {
        dimensions,
        origin,
        fine.row(),
        fine.column(),
        {spacing[0] * factors[0], spacing[1] * factors[1], spacing[2] * factors[2]},
        fine.sliceStep() * factors[2]};
}

} // namespace

std::array<int, 3> downsampleFactors(const Image& image, int maxSide) {
    std::array<int, 3> factors{};
    const int limit = std::max(maxSide, 1);
    std::transform(
        image.geometry().dimensions().begin(), image.geometry().dimensions().end(), factors.begin(),
        [limit](int side) { return std::max(1, (side + limit - 1) / limit); });
    return factors;
}

std::shared_ptr<const Image>
downsample(const Image& image, const std::array<int, 3>& factors, const std::atomic<bool>* cancel) {
    const auto& fine = image.geometry().dimensions();
    std::array<int, 3> coarse{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        coarse[axis] = (fine[axis] + factors[axis] - 1) / factors[axis];
    const Size from = sizeOf(fine);
    const Size to = sizeOf(coarse);
    const std::size_t sliceVoxels = to.columns * to.rows;

    const ImageMetadata& about = image.metadata();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const auto padding = about.padding.value_or(std::pair{infinity, -infinity});
    const bool fitsInt16 =
        image.voxelType() != VoxelType::Float32 && about.minimum >= -32768.0 && about.maximum <= 32767.0;
    const bool paddingIsLowest = padding.first <= about.minimum && padding.second < about.maximum;
    const double empty = paddingIsLowest ? padding.second : about.minimum;

    const std::size_t bytes = sliceVoxels * to.slices * (fitsInt16 ? sizeof(std::int16_t) : sizeof(float));
    std::shared_ptr<std::byte[]> buffer(new std::byte[bytes]);
    const auto cancelled = [cancel] { return cancel && cancel->load(std::memory_order_relaxed); };
    parallelFor(to.slices, 1, [&](std::size_t begin, std::size_t end) {
        std::vector<float> means(sliceVoxels);
        for (std::size_t slice = begin; slice < end && !cancelled(); ++slice) {
            visitVoxels(image, [&](const auto* voxels, std::size_t) {
                averageSlice(voxels, from, to, factors, slice, padding, empty, means.data());
            });
            if (fitsInt16) {
                auto* out = reinterpret_cast<std::int16_t*>(buffer.get()) + slice * sliceVoxels;
                std::transform(means.begin(), means.end(), out, [](float mean) {
                    return static_cast<std::int16_t>(std::lround(std::clamp(mean, -32768.0F, 32767.0F)));
                });
            } else {
                std::copy(
                    means.begin(), means.end(), reinterpret_cast<float*>(buffer.get()) + slice * sliceVoxels);
            }
        }
    });
    if (cancelled())
        return nullptr;

    ImageMetadata metadata = about;
    metadata.rescale.clear();
    metadata.padding.reset();
    return std::make_shared<const Image>(
        coarserGeometry(image.geometry(), coarse, factors), fitsInt16 ? VoxelType::Int16 : VoxelType::Float32,
        1, std::move(buffer), bytes, std::move(metadata));
}

} // namespace zorbel::imaging
