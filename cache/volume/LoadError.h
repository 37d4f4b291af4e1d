#pragma once

#include "cache/volume/ZorbelError.h"

#include <string>
#include <string_view>

namespace zorbel {

enum class CacheSeverity { Transient, Degraded, Critical };

/// Follows from the code alone: an impossible layout is a defect to be reported, everything else a miss.
CacheSeverity severityOf(std::uint32_t code);
/// "transient", "degraded" or "critical"; "unknown" for any other value.
std::string_view severityName(CacheSeverity severity);

/// The failure alternative of a load.
struct LoadError {
    CacheSeverity severity = CacheSeverity::Degraded;
    std::uint32_t code = 0; ///< a CacheErrorCode
    std::string message;
    std::int32_t chunkIndex = -1;
};

} // namespace zorbel
