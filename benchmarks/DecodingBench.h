#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <vector>

namespace zorbel::bench {

class BenchGround;

inline constexpr char decodingRowName[] = "Decoding a 400-slice series";
inline constexpr char compressedDecodingRowName[] = "Decoding 120 slices of JPEG lossless";
inline constexpr char decodingMemoryRowName[] = "Decoding, peak memory";

/// Grouping and decoding into a volume, against a plain loop over GDCM's image reader.
std::vector<BenchRow> measureDecoding(BenchGround& ground);
std::vector<BenchRow> measureCompressedDecoding(BenchGround& ground);
/// The most memory that a process holds which does nothing but that.
std::vector<BenchRow> measureDecodingMemory(BenchGround& ground);

/// The child's part of measureDecodingMemory.
nlohmann::json decodingMemoryChild(const std::filesystem::path& folder);

} // namespace zorbel::bench
