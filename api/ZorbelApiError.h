#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zorbel {

/// A failed service call. what() is the message for the user, UTF-8.
class ZorbelApiError : public std::runtime_error {
public:
    explicit ZorbelApiError(
        const std::string& message, std::int32_t httpStatus = 0, std::string errorCode = {})
        : std::runtime_error(message), status(httpStatus), code(std::move(errorCode)) {}

    /// HTTP status; 0 when none applies; 401 also for the client's own refusal without a session.
    std::int32_t status;
    /// The server's machine-readable error code, empty when it gave none.
    std::string code;
};

} // namespace zorbel
