#include "imaging/display/OutsideAir.h"

#include "imaging/display/VisitVoxels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace zorbel::imaging {

namespace {

constexpr double skinMillimetres = 3.0;

/// Voxels of one line through the volume.
struct Line {
    std::size_t start;
    std::ptrdiff_t step;
    int count;
};

/// From the line's start: the air before the first tissue, and the edge of that.
template <class T>
void replaceFromStart(const T* from, T* to, const Line& line, double airBelow, T outside, int skin) {
    const auto at = [&line](int index) {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(line.start) + index * line.step);
    };
    int air = 0;
    while (air < line.count && static_cast<double>(from[at(air)]) < airBelow)
        ++air;
    if (air == 0)
        return;
    for (int index = 0; index < std::min(air + skin, line.count); ++index)
        to[at(index)] = outside;
}

template <class T>
void replaceOutside(
    const Image& image, const T* from, T* to, double airBelow, T outside, const std::atomic<bool>* cancel) {
    const ImageGeometry& geometry = image.geometry();
    const auto& [columns, rows, slices] = geometry.dimensions();
    const auto skin = [&](std::size_t axis) {
        return static_cast<int>(std::ceil(skinMillimetres / geometry.spacing()[axis]));
    };
    const auto plane = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    const auto both = [&](std::size_t start, std::ptrdiff_t step, int count, std::size_t axis) {
        replaceFromStart(from, to, {start, step, count}, airBelow, outside, skin(axis));
        const auto end = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(start) + (count - 1) * step);
        replaceFromStart(from, to, {end, -step, count}, airBelow, outside, skin(axis));
    };
    for (int slice = 0; slice < slices && !(cancel && *cancel); ++slice) {
        const std::size_t base = plane * static_cast<std::size_t>(slice);
        for (int row = 0; row < rows; ++row)
            both(base + static_cast<std::size_t>(row) * static_cast<std::size_t>(columns), 1, columns, 0);
        for (int column = 0; column < columns; ++column)
            both(base + static_cast<std::size_t>(column), columns, rows, 1);
    }
    // Not from below, where the airway is cut open.
    const Vector3& step = geometry.sliceStep();
    if (std::abs(step[2]) < 0.7 * length(step))
        return;
    const bool lastIsTop = step[2] > 0.0;
    const auto through = static_cast<std::ptrdiff_t>(plane);
    const std::size_t top = lastIsTop ? plane * static_cast<std::size_t>(slices - 1) : 0;
    for (std::size_t voxel = 0; voxel < plane && !(cancel && *cancel); ++voxel)
        replaceFromStart(
            from, to, {top + voxel, lastIsTop ? -through : through, slices}, airBelow, outside, skin(2));
}

} // namespace

WithoutOutsideAir
withoutOutsideAir(const Image& image, double airBelow, double high, const std::atomic<bool>* cancel) {
    WithoutOutsideAir result;
    const std::size_t bytes = image.voxels().size();
    std::shared_ptr<std::byte[]> buffer(new std::byte[bytes]);
    std::memcpy(buffer.get(), image.voxels().data(), bytes);
    visitVoxels(image, [&](const auto* voxels, std::size_t) {
        using T = std::remove_cvref_t<decltype(*voxels)>;
        const double above = high + 0.2 * std::max(high - airBelow, 1e-6);
        const auto outside =
            static_cast<T>(std::min(above, static_cast<double>(std::numeric_limits<T>::max())));
        result.outside = static_cast<double>(outside);
        replaceOutside(image, voxels, reinterpret_cast<T*>(buffer.get()), airBelow, outside, cancel);
    });
    if (!(cancel && *cancel))
        result.image = std::make_shared<const Image>(
            image.geometry(), image.voxelType(), 1, std::move(buffer), bytes, image.metadata());
    return result;
}

} // namespace zorbel::imaging
