#pragma once

#include "imaging/VoxelType.h"
#include "imaging/dicom/FrameDecoder.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace zorbel::imaging {

struct ImageBlock;

struct ValueRange {
    double minimum = 0.0;
    double maximum = 0.0;
};

/// What the voxels of a block become.
struct VoxelPlan {
    VoxelType type = VoxelType::Int16;
    int components = 1;
    /// Every slope and intercept is a whole number.
    bool integer = true;
};

/// From what the headers say. Integer rescale: the smallest type that holds every value the stored bits could
/// become; where that takes more than 16 bits, int16 for a start.
VoxelPlan planVoxels(const ImageBlock& block);

/// The smallest type for values that did not fit the first plan.
VoxelPlan planVoxelsFor(const ValueRange& values);

/// Converts one grey frame to slice-sized `to`. Returns its range, also where it does not fit the plan's
/// type; `to` is unspecified then.
ValueRange convertGrey(
    const DicomFileHeader& header, const ModalityRescale& rescale, const DecodedFrame& frame,
    const VoxelPlan& plan, std::byte* to);

/// Converts one colour frame to RGB triples of 8 bits.
ValueRange convertColor(const DicomFileHeader& header, const DecodedFrame& frame, std::byte* to);

bool fits(const ValueRange& values, VoxelType type);

} // namespace zorbel::imaging
