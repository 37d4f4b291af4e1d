#pragma once

#include "benchmarks/BenchRow.h"
#include "report/package/ReportPacket.h"

#include <nlohmann/json_fwd.hpp>

#include <vector>

namespace zorbel::bench {

class BenchGround;

inline constexpr char reportRowName[] = "Appending a report to a 5 MB document";
inline constexpr char reportMemoryRowName[] = "Appending a report, peak memory";

/// 20 measurements, 10 findings and 12 key images of 1440 × 900.
ReportPacket benchPacket();

/// Appending that, against unzipping and zipping the same package with Qt.
std::vector<BenchRow> measureReport(BenchGround& ground);
/// What it takes beside the document and the pictures.
std::vector<BenchRow> measureReportMemory(BenchGround& ground);

/// The child's part of measureReportMemory.
nlohmann::json reportMemoryChild();

} // namespace zorbel::bench
