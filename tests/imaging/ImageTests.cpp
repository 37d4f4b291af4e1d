#include "imaging/Image.h"

#include <gtest/gtest.h>
#include <vtkDataArray.h>
#include <vtkImageData.h>
#include <vtkPointData.h>
#include <vtkSmartPointer.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <stdexcept>

namespace zorbel::imaging {
namespace {

void expectNear(const Vector3& a, const Vector3& b, double tolerance = 1e-9) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(a[axis], b[axis], tolerance) << "axis " << axis;
}

ImageGeometry obliqueGeometry() {
    const double angle = std::numbers::pi / 5.0;
    const Vector3 row{std::cos(angle), std::sin(angle), 0.0};
    const Vector3 column{0.0, 0.0, -1.0};
    return ImageGeometry({7, 5, 3}, {10.0, -20.0, 30.0}, row, column, {0.4, 0.6, 1.5});
}

std::shared_ptr<std::byte[]> buffer(std::size_t size) {
    return std::make_shared<std::byte[]>(size);
}

TEST(ImageGeometry, WorldAndIndexAreInverse) {
    const Vector3 row{1.0, 0.0, 0.0};
    const Vector3 column{0.0, 0.8, -0.6};
    const ImageGeometry tilted(
        {4, 4, 4}, {1.0, 2.0, 3.0}, row, column, {0.5, 0.5, 2.0}, cross(row, column) * 2.0 + column * 0.7);
    for (const ImageGeometry& geometry : {obliqueGeometry(), tilted}) {
        for (const Vector3& index : {Vector3{0, 0, 0}, Vector3{3.25, 1.5, 2.0}, Vector3{-1, 8, 0.5}})
            expectNear(geometry.worldToIndex(geometry.indexToWorld(index)), index);
        const auto matrix = geometry.indexToWorldMatrix();
        const Vector3 point = geometry.indexToWorld({2, 3, 1});
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(
                matrix[4 * axis] * 2 + matrix[4 * axis + 1] * 3 + matrix[4 * axis + 2] + matrix[4 * axis + 3],
                point[axis], 1e-9);
    }
    EXPECT_NEAR(tilted.tiltDegrees(), std::atan2(0.7, 2.0) * 180.0 / std::numbers::pi, 1e-9);
    EXPECT_NEAR(obliqueGeometry().tiltDegrees(), 0.0, 1e-9);
}

TEST(ImageGeometry, BoundsReachTheOuterVoxelBorders) {
    const ImageGeometry sagittal({4, 2, 3}, {0, 0, 0}, {0, 1, 0}, {0, 0, -1}, {1.0, 2.0, 3.0});
    // row × column = -x
    expectNear(sagittal.normal(), {-1, 0, 0});
    const std::array<double, 6> expected{-7.5, 1.5, -0.5, 3.5, -3.0, 1.0};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_NEAR(sagittal.bounds()[i], expected[i], 1e-9) << i;
    expectNear(sagittal.center(), {-3.0, 1.5, -1.0});
    const std::array<double, 9> direction{0, 0, -1, 1, 0, 0, 0, -1, 0};
    EXPECT_EQ(sagittal.direction(), direction);
}

TEST(Image, RefusesABufferOfAnotherSize) {
    const ImageGeometry geometry({2, 2, 2}, {}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    EXPECT_NO_THROW(Image(geometry, VoxelType::Int16, 1, buffer(16), 16, {}));
    EXPECT_THROW(Image(geometry, VoxelType::Int16, 1, buffer(16), 15, {}), std::invalid_argument);
    EXPECT_THROW(Image(geometry, VoxelType::Int16, 3, buffer(16), 16, {}), std::invalid_argument);
    EXPECT_THROW(Image(geometry, VoxelType::Int16, 1, nullptr, 16, {}), std::invalid_argument);
    const ImageGeometry huge({2147483647, 2147483647, 2147483647}, {}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    EXPECT_THROW(Image(huge, VoxelType::Float32, 3, buffer(16), 16, {}), std::invalid_argument);
}

TEST(Image, GivesValuesAndStoredValues) {
    const ImageGeometry geometry({2, 1, 3}, {}, {1, 0, 0}, {0, 1, 0}, {1, 1, 1});
    auto voxels = buffer(6 * sizeof(float));
    const float values[6] = {0.5F, 1.0F, 7.0F, 9.0F, -3.0F, -4.0F};
    std::memcpy(voxels.get(), values, sizeof values);
    ImageMetadata metadata;
    metadata.rescale = {{0.5, 0.0}, {2.0, 5.0}, {1.0, 0.0}};
    const Image image(geometry, VoxelType::Float32, 1, voxels, sizeof values, metadata);
    EXPECT_EQ(image.valueAt(1, 0, 1), 9.0);
    EXPECT_EQ(image.storedValueAt(0, 0, 0), 1.0);
    EXPECT_EQ(image.storedValueAt(1, 0, 1), 2.0);
    EXPECT_EQ(image.storedValueAt(0, 0, 2), -3.0);
    EXPECT_FALSE(image.isVolumetric()) << "one voxel high";
}

TEST(Image, SharesItsVoxelsWithVtkAndOutlivesItself) {
    const std::array<std::pair<VoxelType, int>, 7> types{
        {{VoxelType::UInt8, VTK_UNSIGNED_CHAR},
         {VoxelType::Int8, VTK_SIGNED_CHAR},
         {VoxelType::UInt16, VTK_UNSIGNED_SHORT},
         {VoxelType::Int16, VTK_SHORT},
         {VoxelType::UInt32, VTK_UNSIGNED_INT},
         {VoxelType::Int32, VTK_INT},
         {VoxelType::Float32, VTK_FLOAT}}};
    for (const auto& [type, vtkType] : types) {
        const std::size_t size = 3 * 4 * 5 * bytesPerComponent(type);
        auto voxels = buffer(size);
        const std::weak_ptr<std::byte[]> watch = voxels;
        const std::byte* const address = voxels.get();
        auto image = std::make_unique<Image>(
            ImageGeometry({3, 4, 5}, {9, 9, 9}, {0, 1, 0}, {0, 0, 1}, {0.5, 0.6, 0.7}), type, 1,
            std::move(voxels), size, ImageMetadata{});
        EXPECT_TRUE(image->isVolumetric());
        auto first = vtkSmartPointer<vtkImageData>::Take(image->newVtkImage());
        auto second = vtkSmartPointer<vtkImageData>::Take(image->newVtkImage());
        EXPECT_NE(first, second);
        EXPECT_EQ(first->GetScalarPointer(), address);
        EXPECT_EQ(second->GetScalarPointer(), address);
        EXPECT_EQ(first->GetScalarType(), vtkType);
        EXPECT_EQ(first->GetNumberOfPoints(), 60);
        EXPECT_EQ(first->GetSpacing()[2], 0.7);
        EXPECT_EQ(first->GetOrigin()[0], 0.0);

        image.reset();
        second = nullptr;
        EXPECT_FALSE(watch.expired());
        // The array may outlive the image data that it was made for.
        vtkSmartPointer<vtkDataArray> array = first->GetPointData()->GetScalars();
        first = nullptr;
        EXPECT_FALSE(watch.expired());
        array = nullptr;
        EXPECT_TRUE(watch.expired());
    }
}

TEST(Image, PlacesTheGridInThePatient) {
    const Vector3 step{0.3, 0.0, 2.0};
    const ImageGeometry sheared({2, 2, 3}, {5, 6, 7}, {1, 0, 0}, {0, 1, 0}, {0.5, 0.5, 2.0}, step);
    const Image image(sheared, VoxelType::UInt8, 1, buffer(12), 12, {});
    const auto matrix = image.gridToWorldMatrix();
    // Voxel (1, 1, 2) lies at (0.5, 0.5, 4) on VTK's grid.
    const Vector3 expected = sheared.indexToWorld({1, 1, 2});
    for (std::size_t axis = 0; axis < 3; ++axis)
        EXPECT_NEAR(
            matrix[4 * axis] * 0.5 + matrix[4 * axis + 1] * 0.5 + matrix[4 * axis + 2] * 4.0 +
                matrix[4 * axis + 3],
            expected[axis], 1e-9);
}

} // namespace
} // namespace zorbel::imaging
