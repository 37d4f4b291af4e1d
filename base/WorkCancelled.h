#pragma once

#include <stdexcept>

namespace zorbel {

/// Thrown by work that somebody cancelled: neither a result nor a failure.
class WorkCancelled : public std::runtime_error {
public:
    WorkCancelled() : std::runtime_error("Cancelled") {}
};

} // namespace zorbel
