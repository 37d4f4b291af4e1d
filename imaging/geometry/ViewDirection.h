#pragma once

#include "imaging/geometry/ImageGeometry.h"
#include "imaging/geometry/PlaneGeometry.h"

#include <string_view>

namespace zorbel::imaging {

/// The three standard planes, in the order of the viewports.
enum class ViewDirection { Axial = 0, Coronal = 1, Sagittal = 2 };

/// "Axial", "Coronal", "Sagittal".
std::string_view viewDirectionName(ViewDirection direction);

/// The standard plane of an image, through its centre.
///
/// | plane | seen from | right | down |
/// |---|---|---|---|
/// | axial | the feet | patient's left | back |
/// | coronal | the front | patient's left | feet |
/// | sagittal | the patient's left | back | feet |
///
/// Each plane is snapped to the image's own nearest axes (row, column and normal, permuted and flipped), so
/// that it shows the acquired voxels also where the acquisition is oblique; the orientation letters tell the
/// true direction. The three planes are always orthogonal to each other: with a tilted gantry they are the
/// acquired slice and the two planes at right angles to it, not the sheared grid's.
PlaneGeometry standardPlane(const ImageGeometry& geometry, ViewDirection direction);

} // namespace zorbel::imaging
