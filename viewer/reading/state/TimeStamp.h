#pragma once

#include <chrono>
#include <string>

namespace zorbel {

/// "2026-11-21T12:00:00.123Z": ISO 8601, UTC; sorts by time.
std::string utcTimeStamp(std::chrono::system_clock::time_point time);
/// "20261121T120000123Z": the same without what file names may not hold.
std::string utcTimeStampForFiles(std::chrono::system_clock::time_point time);

} // namespace zorbel
