#include "cache/volume/LoadError.h"

namespace zorbel {

CacheSeverity severityOf(std::uint32_t code) {
    switch (code) {
    case 2:
    case 3:
    case 5:
        return CacheSeverity::Transient;
    case static_cast<std::uint32_t>(CacheErrorCode::InvalidLayout):
        return CacheSeverity::Critical;
    default:
        return CacheSeverity::Degraded;
    }
}

std::string_view severityName(CacheSeverity severity) {
    switch (severity) {
    case CacheSeverity::Transient:
        return "transient";
    case CacheSeverity::Degraded:
        return "degraded";
    case CacheSeverity::Critical:
        return "critical";
    }
    return "unknown";
}

} // namespace zorbel
