#pragma once

#include "imaging/Image.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <vector>

namespace zorbel::imaging::test {

/// An image of voxels of type T whose values a function of (column, row, slice) gives.
template <class T>
std::shared_ptr<const Image> makeImage(
    const ImageGeometry& geometry, VoxelType type, const std::function<double(int, int, int)>& value,
    ImageMetadata metadata = {}, int components = 1) {
    const auto& size = geometry.dimensions();
    const auto count = static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]) *
                       static_cast<std::size_t>(size[2]) * static_cast<std::size_t>(components);
    std::shared_ptr<std::byte[]> bytes(new std::byte[count * sizeof(T)]);
    auto* out = reinterpret_cast<T*>(bytes.get());
    double low = std::numeric_limits<double>::infinity();
    double high = -low;
    for (int slice = 0; slice < size[2]; ++slice) {
        for (int row = 0; row < size[1]; ++row) {
            for (int column = 0; column < size[0] * components; ++column) {
                *out = static_cast<T>(value(column, row, slice));
                low = std::min(low, static_cast<double>(*out));
                high = std::max(high, static_cast<double>(*out));
                ++out;
            }
        }
    }
    metadata.minimum = low;
    metadata.maximum = high;
    return std::make_shared<const Image>(
        geometry, type, components, std::move(bytes), count * sizeof(T), std::move(metadata));
}

/// Trilinear value at a world point, computed from Image::valueAt alone; not a number outside the voxels'
/// borders.
inline double trilinear(const Image& image, const Vector3& point) {
    const auto& size = image.geometry().dimensions();
    const Vector3 index = image.geometry().worldToIndex(point);
    std::array<int, 3> base{};
    Vector3 part{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (index[axis] < -0.5 || index[axis] > size[axis] - 0.5)
            return std::numeric_limits<double>::quiet_NaN();
        const double inside = std::clamp(index[axis], 0.0, size[axis] - 1.0);
        base[axis] = std::min(static_cast<int>(inside), std::max(size[axis] - 2, 0));
        part[axis] = inside - base[axis];
    }
    double sum = 0.0;
    for (int corner = 0; corner < 8; ++corner) {
        double weight = 1.0;
        std::array<int, 3> at = base;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const bool upper = ((corner >> axis) & 1) != 0;
            weight *= upper ? part[axis] : 1.0 - part[axis];
            at[axis] = std::min(at[axis] + (upper ? 1 : 0), size[axis] - 1);
        }
        if (weight > 0.0)
            sum += weight * image.valueAt(at[0], at[1], at[2]);
    }
    return sum;
}

/// All 48 ways in which a grid's axes can lie along the patient's, the left-handed half included.
inline std::vector<ImageGeometry>
axisGeometries(const std::array<int, 3>& size, const Vector3& spacing = {0.8, 0.6, 1.5}) {
    std::vector<ImageGeometry> all;
    const auto unit = [](int axis, int negative) {
        Vector3 direction{};
        direction[static_cast<std::size_t>(axis)] = negative ? -1.0 : 1.0;
        return direction;
    };
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            for (int signs = 0; signs < 8 && row != column; ++signs)
                all.emplace_back(
                    size, Vector3{10.0, -20.0, 30.0}, unit(row, signs & 1), unit(column, signs & 2), spacing,
                    unit(3 - row - column, signs & 4) * spacing[2]);
    return all;
}

/// Rows and columns turned from the patient's axes by these degrees about z, then about x.
inline ImageGeometry obliqueGeometry(
    std::array<int, 3> dimensions, const Vector3& spacing, double aboutZ, double aboutX, double shear = 0.0) {
    const double a = aboutZ * 3.14159265358979 / 180.0;
    const double b = aboutX * 3.14159265358979 / 180.0;
    const Vector3 row{std::cos(a), std::sin(a) * std::cos(b), std::sin(a) * std::sin(b)};
    const Vector3 column{-std::sin(a), std::cos(a) * std::cos(b), std::cos(a) * std::sin(b)};
    const Vector3 normal = cross(row, column);
    return {dimensions, {-31.0, 12.0, 250.0}, row, column, spacing, normal * spacing[2] + column * shear};
}

} // namespace zorbel::imaging::test
