#pragma once

#include "benchmarks/BenchRow.h"

#include <string>
#include <vector>

namespace zorbel::bench {

/// The rows as a table with aligned columns, name, ours, reference, ratio, goal and holds, followed by the
/// notes. Text is UTF-8.
std::string table(const std::vector<BenchRow>& rows);

/// A JSON array with one object for each row.
std::string jsonText(const std::vector<BenchRow>& rows);

} // namespace zorbel::bench
