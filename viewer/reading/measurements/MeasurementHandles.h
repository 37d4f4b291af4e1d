#pragma once

#include "viewer/reading/records/Measurement.h"

#include <cstddef>
#include <vector>

namespace zorbel {

/// Where a measurement can be taken hold of, in its own coordinates: its points; of a complete region the
/// four corners, its two points first.
std::vector<imaging::Vector3> measurementHandles(const Measurement& measurement);

/// The measurement with a handle moved by a displacement, of which only the part along its plane's axes
/// counts, so that it stays as plane as it was. A region's opposite corner stays. Unchanged where there is no
/// such handle.
Measurement withHandleMoved(Measurement measurement, std::size_t handle, const imaging::Vector3& way);
/// The same with all points moved.
Measurement withAllMoved(Measurement measurement, const imaging::Vector3& way);

} // namespace zorbel
