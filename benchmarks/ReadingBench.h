#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace zorbel::bench {

class BenchGround;

std::vector<std::string> startRowNames();
/// The program from its start to the sign-in dialog on the screen. Needs a screen.
std::vector<BenchRow> measureStart(BenchGround& ground);

std::vector<std::string> readingRowNames();
/// Opening two studies stage by stage, scrolling, and turning the 3D view. Needs a screen.
std::vector<BenchRow> measureReading(BenchGround& ground);

/// The children's parts. They run the whole program; no application object may exist yet.
nlohmann::json startChild();
nlohmann::json readingChild();

} // namespace zorbel::bench
