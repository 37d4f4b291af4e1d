#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <QString>

#include <string>
#include <vector>

namespace zorbel::bench {

class BenchGround;

inline constexpr char streamingRowName[] = "Streaming a 400-slice series";
inline constexpr char streamingMemoryRowName[] = "Streaming, growth of peak memory";

/// The whole series as one stream, against curl on the same URL.
std::vector<BenchRow> measureStreaming(BenchGround& ground);
/// How far the process's memory grows above what it holds before the call.
std::vector<BenchRow> measureStreamingMemory(BenchGround& ground);

/// The child's part of measureStreamingMemory.
nlohmann::json streamingMemoryChild(const QString& serviceUrl);

} // namespace zorbel::bench
