#pragma once

#include "benchmarks/BenchRow.h"

#include <string>
#include <vector>

namespace zorbel::bench {

class BenchGround;

/// From the click to the document on the disk, against the demo service: the whole, beside the same requests,
/// the same editing and one plain write by themselves, and its stages.
std::vector<BenchRow> measureReportOpening(BenchGround& ground);
std::vector<std::string> reportOpeningRowNames();

} // namespace zorbel::bench
