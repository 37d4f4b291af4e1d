#pragma once

#include "benchmarks/BenchRow.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <vector>

namespace zorbel::bench {

class BenchGround;

inline constexpr char cacheLoadRowName[] = "Loading a volume cache of 512³";
inline constexpr char cacheMemoryRowName[] = "Loading a volume cache, peak memory";
inline constexpr char archiveCommitRowName[] = "Archiving a 400-slice series";
inline constexpr char archiveReopenRowName[] = "Reopening a 400-slice series from the archive";
inline constexpr char policyRowName[] = "Storage policy over 10,000 studies";

/// The whole load, against hashing the chunk files with OpenSSL and inflating them with zlib.
std::vector<BenchRow> measureCacheLoad(BenchGround& ground);
/// The most memory that a process holds which does nothing but that.
std::vector<BenchRow> measureCacheMemory(BenchGround& ground);
/// Writing and committing, against hashing and an fsynced write of the same bytes.
std::vector<BenchRow> measureArchiveCommit(BenchGround& ground);
/// From the archive to the decoded volume, against downloading it.
std::vector<BenchRow> measureArchiveReopen(BenchGround& ground);
/// With nothing to remove.
std::vector<BenchRow> measurePolicy(BenchGround& ground);

/// The child's part of measureCacheMemory.
nlohmann::json cacheMemoryChild(const std::filesystem::path& cacheFolder);

} // namespace zorbel::bench
