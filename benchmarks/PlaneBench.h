#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace zorbel::bench {

class BenchGround;

/// Pictures of 1024 × 1024 pixels through a volume of 512³ voxels of 16 bits: the sampler against
/// vtkImageReslice with linear interpolation, and what the hand feels of it in the views.
std::vector<std::string> planeRowNames();
std::vector<BenchRow> measurePlanes(BenchGround& ground);

/// The child's part, with the volume and the views.
nlohmann::json planesChild(int argc, char** argv);

} // namespace zorbel::bench
