#include "imaging/ImageAdapter.h"

#include "base/WorkerPool.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <mutex>
#include <optional>

namespace zorbel::imaging {

namespace {

constexpr double directionTolerance = 1e-3;

std::optional<VoxelType> voxelTypeOf(const std::string& dtype) {
    for (const VoxelType type : {VoxelType::Int16, VoxelType::Int32, VoxelType::UInt32, VoxelType::Float32}) {
        if (dtype == voxelTypeName(type))
            return type;
    }
    return std::nullopt;
}

bool hasItsSize(const ZorbelVolumeData& volume, VoxelType type) {
    std::size_t expected = bytesPerComponent(type);
    for (const std::int32_t dimension : volume.dimensions) {
        if (dimension <= 0 ||
            expected > std::numeric_limits<std::size_t>::max() / static_cast<std::size_t>(dimension))
            return false;
        expected *= static_cast<std::size_t>(dimension);
    }
    return volume.voxels && volume.byteLength == expected;
}

template <std::size_t Count>
bool areFinite(const std::array<double, Count>& values) {
    return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

bool isUnit(const Vector3& direction) {
    return std::abs(length(direction) - 1.0) <= directionTolerance;
}

/// Makes rounded directions unit and square, as they were meant; exact ones keep their every bit.
void straighten(Vector3& row, Vector3& column) {
    constexpr double exact = 1e-12;
    if (std::abs(dot(row, row) - 1.0) <= exact && std::abs(dot(column, column) - 1.0) <= exact &&
        std::abs(dot(row, column)) <= exact)
        return;
    row = normalized(row);
    column = normalized(column - row * dot(row, column));
}

std::optional<ImageGeometry> geometryOf(const ZorbelVolumeData& volume) {
    const auto& d = volume.direction;
    if (!areFinite(d) || !areFinite(volume.origin) || !areFinite(volume.spacing) ||
        *std::min_element(volume.spacing.begin(), volume.spacing.end()) <= 0.0)
        return std::nullopt;
    Vector3 row{d[0], d[3], d[6]};
    Vector3 column{d[1], d[4], d[7]};
    const Vector3 slice{d[2], d[5], d[8]};
    if (!isUnit(row) || !isUnit(column) || !isUnit(slice) || std::abs(dot(row, column)) > directionTolerance)
        return std::nullopt;
    straighten(row, column);
    const Vector3 normal = cross(row, column);
    // Slices may be stacked askew, as with a tilted gantry, and in either direction: the voxels lie where
    // they lie. But hardly in a plane.
    constexpr double flattest = 0.1;
    const double along = std::abs(dot(slice, normal));
    if (along < flattest)
        return std::nullopt;
    Vector3 spacing = volume.spacing;
    if (along < 1.0 - 1e-12)
        spacing[2] *= along;
    return ImageGeometry(volume.dimensions, volume.origin, row, column, spacing, slice * volume.spacing[2]);
}

struct Range {
    double minimum = 0.0;
    double maximum = 0.0;
};

/// Smallest and largest of fromVoxel() over all voxels, which lie in memory as Stored.
template <class Stored, class FromVoxel>
auto rangeOf(const ZorbelVolumeData& volume, FromVoxel fromVoxel) {
    using Key = decltype(fromVoxel(Stored{}));
    auto minimum = std::numeric_limits<Key>::max();
    auto maximum = std::numeric_limits<Key>::lowest();
    const auto* const voxels = reinterpret_cast<const Stored*>(volume.voxels.get());
    std::mutex mutex;
    constexpr std::size_t grain = std::size_t{1} << 18U;
    parallelFor(volume.byteLength / sizeof(Stored), grain, [&](std::size_t begin, std::size_t end) {
        auto low = std::numeric_limits<Key>::max();
        auto high = std::numeric_limits<Key>::lowest();
        for (std::size_t i = begin; i < end; ++i) {
            const Key key = fromVoxel(voxels[i]);
            low = std::min(low, key);
            high = std::max(high, key);
        }
        const std::lock_guard lock(mutex);
        minimum = std::min(minimum, low);
        maximum = std::max(maximum, high);
    });
    return std::pair{minimum, maximum};
}

template <class Stored>
Range integerRange(const ZorbelVolumeData& volume) {
    const auto [low, high] = rangeOf<Stored>(volume, [](Stored voxel) { return voxel; });
    return {static_cast<double>(low), static_cast<double>(high)};
}

/// Works on the bits, ordered like the numbers, which vector units compare without a thought for NaN; in that
/// order NaN and infinity are the two ends.
std::optional<Range> floatRange(const ZorbelVolumeData& volume) {
    const auto ordered = [](std::int32_t bits) { return bits ^ ((bits >> 31) & 0x7fffffff); };
    const auto [low, high] = rangeOf<std::int32_t>(volume, ordered);
    const Range range{std::bit_cast<float>(ordered(low)), std::bit_cast<float>(ordered(high))};
    if (!std::isfinite(range.minimum) || !std::isfinite(range.maximum))
        return std::nullopt;
    return range;
}

std::optional<Range> valueRange(const ZorbelVolumeData& volume, VoxelType type) {
    switch (type) {
    case VoxelType::Int16:
        return integerRange<std::int16_t>(volume);
    case VoxelType::Int32:
        return integerRange<std::int32_t>(volume);
    case VoxelType::UInt32:
        return integerRange<std::uint32_t>(volume);
    default:
        return floatRange(volume);
    }
}

} // namespace

std::shared_ptr<const Image> ImageAdapter::adapt(const ZorbelVolumeData& volume) {
    const std::optional<VoxelType> type = voxelTypeOf(volume.dtype);
    if (!type || !hasItsSize(volume, *type))
        return nullptr;
    const std::optional<ImageGeometry> geometry = geometryOf(volume);
    if (!geometry)
        return nullptr;
    const std::optional<Range> range = valueRange(volume, *type);
    if (!range)
        return nullptr;

    ImageMetadata metadata;
    metadata.studyInstanceUID = volume.studyInstanceUID;
    metadata.photometricInterpretation = "MONOCHROME2";
    metadata.rescale.resize(static_cast<std::size_t>(volume.dimensions[2]));
    metadata.minimum = range->minimum;
    metadata.maximum = range->maximum;
    metadata.spacingSource = SpacingSource::PixelSpacing;
    metadata.pixelAspectRatio = volume.spacing[1] / volume.spacing[0];
    return std::make_shared<const Image>(
        *geometry, *type, 1, volume.voxels, volume.byteLength, std::move(metadata));
}

} // namespace zorbel::imaging
