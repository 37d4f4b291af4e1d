#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <vector>

namespace zorbel::bench {

class BenchGround;

inline constexpr char pauseRowName[] = "Longest pause while measuring on a slow disk";

/// How long the user-interface thread answers nobody while measurements are drawn and dragged, all of it is
/// saved, and a series is archived, on a disk where every call takes its time. Needs a screen.
std::vector<BenchRow> measurePause(BenchGround& ground);

/// The child's part; folder: to be filled. No application object may exist yet.
nlohmann::json pauseChild(int argc, char** argv, const std::filesystem::path& folder);

} // namespace zorbel::bench
