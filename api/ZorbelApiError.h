#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zorbel {

/// A failed service call. what() is the message for the user, UTF-8.
class ZorbelApiError : public std::runtime_error {
public:
    enum class Cause {
        Other,
        NoAnswer,    ///< nobody answered in time, or the connection broke
        SafetyLimit, ///< more data than this workstation takes
        SessionEnded ///< the service does not know the session any more
    };

    explicit ZorbelApiError(
        const std::string& message, std::int32_t httpStatus = 0, std::string errorCode = {},
        Cause why = Cause::Other)
        : std::runtime_error(message), status(httpStatus), code(std::move(errorCode)), cause(why) {}
    ZorbelApiError(const std::string& message, Cause why) : ZorbelApiError(message, 0, {}, why) {}

    /// Whether the service could not do its work, as against one that did, and said no or made no sense.
    bool isOutage() const {
        return cause == Cause::NoAnswer || status == 408 || status == 429 || status >= 500;
    }
    /// Whether the service refused the user.
    bool isRefusal() const { return status == 401 || status == 403; }
    /// Whether signing in again helps.
    bool isSessionEnd() const { return cause == Cause::SessionEnded; }

    /// HTTP status; 0 when none applies; 401 also for the client's own refusal without a session.
    std::int32_t status;
    /// The server's machine-readable error code, empty when it gave none.
    std::string code;
    Cause cause;
    /// What the user can do, a sentence; empty where that is not known.
    std::string advice{};
};

/// Of whatever was thrown.
inline bool isSessionEnd(const std::exception& error) {
    const auto* apiError = dynamic_cast<const ZorbelApiError*>(&error);
    return apiError && apiError->isSessionEnd();
}

} // namespace zorbel
