#include "imaging/Image.h"

#include <vtkCommand.h>
#include <vtkDataArray.h>
#include <vtkImageData.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkSmartPointer.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace zorbel::imaging {

namespace {

/// Does nothing but own the voxels: VTK drops an array's observers together with the array, whoever holds it
/// last.
class VoxelKeeper : public vtkCommand {
public:
    static VoxelKeeper* New() { return new VoxelKeeper; }
    void Execute(vtkObject*, unsigned long, void*) override {}
    std::shared_ptr<const std::byte[]> voxels;
};

int vtkType(VoxelType type) {
    switch (type) {
    case VoxelType::UInt8:
        return VTK_UNSIGNED_CHAR;
    case VoxelType::Int8:
        return VTK_SIGNED_CHAR;
    case VoxelType::UInt16:
        return VTK_UNSIGNED_SHORT;
    case VoxelType::Int16:
        return VTK_SHORT;
    case VoxelType::UInt32:
        return VTK_UNSIGNED_INT;
    case VoxelType::Int32:
        return VTK_INT;
    case VoxelType::Float32:
        break;
    }
    return VTK_FLOAT;
}

template <class T>
double readAs(const std::byte* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return static_cast<double>(value);
}

double readVoxel(VoxelType type, const std::byte* from) {
    switch (type) {
    case VoxelType::UInt8:
        return readAs<std::uint8_t>(from);
    case VoxelType::Int8:
        return readAs<std::int8_t>(from);
    case VoxelType::UInt16:
        return readAs<std::uint16_t>(from);
    case VoxelType::Int16:
        return readAs<std::int16_t>(from);
    case VoxelType::UInt32:
        return readAs<std::uint32_t>(from);
    case VoxelType::Int32:
        return readAs<std::int32_t>(from);
    case VoxelType::Float32:
        break;
    }
    return readAs<float>(from);
}

} // namespace

Image::Image(
    ImageGeometry geometry, VoxelType type, int components, std::shared_ptr<const std::byte[]> voxels,
    std::size_t byteLength, ImageMetadata metadata, std::vector<std::shared_ptr<const Image>> members)
    : geometry_(std::move(geometry)), type_(type), components_(components), voxels_(std::move(voxels)),
      byteLength_(byteLength), metadata_(std::move(metadata)), members_(std::move(members)) {
    std::size_t expected = bytesPerComponent(type);
    const auto multiply = [&expected](int factor) {
        if (factor <= 0 || __builtin_mul_overflow(expected, static_cast<std::size_t>(factor), &expected))
            throw std::invalid_argument("Image: dimensions out of range");
    };
    multiply(components);
    for (const int dimension : geometry_.dimensions())
        multiply(dimension);
    if (!voxels_ || byteLength != expected)
        throw std::invalid_argument("Image: voxel buffer does not match the dimensions");
    if (isSet() && members_.size() != static_cast<std::size_t>(geometry_.dimensions()[2]))
        throw std::invalid_argument("Image: a set has an image for each slice");
}

double Image::valueAt(int column, int row, int slice) const {
    const auto& size = geometry_.dimensions();
    const std::size_t index = (static_cast<std::size_t>(slice) * static_cast<std::size_t>(size[1]) +
                               static_cast<std::size_t>(row)) *
                                  static_cast<std::size_t>(size[0]) +
                              static_cast<std::size_t>(column);
    return readVoxel(
        type_, voxels_.get() + index * static_cast<std::size_t>(components_) * bytesPerComponent(type_));
}

double Image::storedValueAt(int column, int row, int slice) const {
    const double value = valueAt(column, row, slice);
    const auto index = static_cast<std::size_t>(slice);
    if (index >= metadata_.rescale.size() || metadata_.rescale[index] == ModalityRescale{})
        return value;
    const ModalityRescale& rescale = metadata_.rescale[index];
    return std::round((value - rescale.intercept) / rescale.slope);
}

bool Image::isVolumetric() const {
    const auto& size = geometry_.dimensions();
    return !isSet() && components_ == 1 && size[0] > 1 && size[1] > 1 && size[2] >= 3;
}

vtkImageData* Image::newVtkImage() const {
    const auto& size = geometry_.dimensions();
    const Vector3& spacing = geometry_.spacing();
    auto array = vtkSmartPointer<vtkDataArray>::Take(vtkDataArray::CreateDataArray(vtkType(type_)));
    array->SetNumberOfComponents(components_);
    array->SetName("voxels");
    // VTK has no read-only arrays; the save flag keeps it from freeing what it does not own.
    array->SetVoidArray(
        const_cast<std::byte*>(voxels_.get()), static_cast<vtkIdType>(byteLength_ / bytesPerComponent(type_)),
        1);
    vtkNew<VoxelKeeper> keeper;
    keeper->voxels = voxels_;
    array->AddObserver(vtkCommand::DeleteEvent, keeper);

    vtkImageData* image = vtkImageData::New();
    image->SetDimensions(size[0], size[1], size[2]);
    image->SetSpacing(spacing[0], spacing[1], spacing[2]);
    image->SetOrigin(0.0, 0.0, 0.0);
    image->GetPointData()->SetScalars(array);
    return image;
}

std::array<double, 16> Image::gridToWorldMatrix() const {
    const Vector3& a = geometry_.row();
    const Vector3& b = geometry_.column();
    const Vector3 c = geometry_.sliceStep() * (1.0 / geometry_.spacing()[2]);
    const Vector3& origin = geometry_.origin();
    return {a[0], b[0], c[0], origin[0], a[1], b[1], c[1], origin[1],
            a[2], b[2], c[2], origin[2], 0.0,  0.0,  0.0,  1.0};
}

} // namespace zorbel::imaging
