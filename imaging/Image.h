#pragma once

#include "imaging/ImageMetadata.h"
#include "imaging/VoxelType.h"
#include "imaging/geometry/ImageGeometry.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

class vtkImageData;

namespace zorbel::imaging {

/// A decoded image: voxels after the modality rescale, their geometry and what the files say about them. The
/// voxels exist once: copies of an Image, and the vtkImageData it hands out, share the same buffer, which
/// nobody writes to after construction. Any thread.
///
/// A set is several images of one series without a place in space, such as the bitewings of one sitting. Each
/// slice then holds one of them from its first voxel on, and zeros beyond it, and is an image of its own:
/// only member() knows its size, spacing and metadata. Those of the set are its first image's.
class Image {
public:
    /// voxels: column fastest, then row, then slice; `components` interleaved values a voxel (1 grey, 3 RGB);
    /// native byte order; exactly columns × rows × slices × components × bytesPerComponent(type) bytes, else
    /// std::invalid_argument. members: of a set, one a slice, not null.
    Image(
        ImageGeometry geometry, VoxelType type, int components, std::shared_ptr<const std::byte[]> voxels,
        std::size_t byteLength, ImageMetadata metadata,
        std::vector<std::shared_ptr<const Image>> members = {});

    const ImageGeometry& geometry() const { return geometry_; }
    VoxelType voxelType() const { return type_; }
    int components() const { return components_; }
    const ImageMetadata& metadata() const { return metadata_; }
    std::span<const std::byte> voxels() const { return {voxels_.get(), byteLength_}; }
    bool isSet() const { return !members_.empty(); }
    /// Of a set: the image in a slice, itself of one slice.
    const std::shared_ptr<const Image>& member(int slice) const {
        return members_.at(static_cast<std::size_t>(slice));
    }

    /// First component of a voxel; the index must lie inside.
    double valueAt(int column, int row, int slice) const;
    /// Stored value of a voxel, before the modality rescale of its slice.
    double storedValueAt(int column, int row, int slice) const;

    /// True for data worth a 3D view: at least 3 slices, more than one voxel across, one component; no set.
    bool isVolumetric() const;

    /// The voxels as VTK data, in grid coordinates: origin 0, the spacing of geometry(), identity direction.
    /// Place it in the patient with gridToWorldMatrix(). No voxel is copied; the data keeps the buffer alive.
    /// A fresh object each call; VTK must treat it as read-only.
    vtkImageData* newVtkImage() const;
    /// 4 × 4, row-major, from the grid coordinates of newVtkImage() (millimetres along column, row, slice) to
    /// LPS.
    std::array<double, 16> gridToWorldMatrix() const;

private:
    ImageGeometry geometry_;
    VoxelType type_;
    int components_;
    std::shared_ptr<const std::byte[]> voxels_;
    std::size_t byteLength_;
    ImageMetadata metadata_;
    std::vector<std::shared_ptr<const Image>> members_;
};

} // namespace zorbel::imaging
