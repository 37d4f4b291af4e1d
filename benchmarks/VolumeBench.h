#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace zorbel::bench {

class BenchGround;

std::vector<std::string> volumeRowNames();
/// The 3D view of 600 × 600 by itself: turning, the still picture, and memory after many volumes. Needs a
/// screen.
std::vector<BenchRow> measureVolume(BenchGround& ground);

/// The child's part; no application object may exist yet.
nlohmann::json volumeChild();

} // namespace zorbel::bench
