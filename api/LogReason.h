#pragma once

#include "api/ZorbelApiError.h"

#include <exception>
#include <string>

namespace zorbel {

/// An exception's text for the log. A text that came from the server may name a patient, so of an HTTP error
/// only the status is told.
inline std::string logReason(const std::exception& error) {
    const auto* apiError = dynamic_cast<const ZorbelApiError*>(&error);
    return apiError && apiError->status != 0 ? "HTTP " + std::to_string(apiError->status) : error.what();
}

} // namespace zorbel
