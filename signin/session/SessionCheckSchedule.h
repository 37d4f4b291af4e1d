#pragma once

#include <cstdint>
#include <optional>

namespace zorbel {

/// When the service is to be asked whether the session holds: every ten minutes in which somebody used the
/// program, so that nobody learns of its end by a click that fails, and around the time at which it is known
/// to end. An unattended program asks nothing: it would keep a session alive that the service ends for want
/// of use. Times are seconds since the Unix epoch.
class SessionCheckSchedule {
public:
    static constexpr std::int64_t interval = 600;
    static constexpr std::int64_t lead = 60; ///< before the known end

    explicit SessionCheckSchedule(std::int64_t now) : checked_(now) {}

    void setExpiry(std::optional<std::int64_t> expiry) { expiry_ = expiry; }
    void noticeUse() { used_ = true; }
    bool isDue(std::int64_t now) const {
        const bool clockSetBack = now < checked_;
        return (used_ && (clockSetBack || now - checked_ >= interval)) || isPassed(-lead, now) ||
               isPassed(1, now);
    }
    void noticeCheck(std::int64_t now) {
        checked_ = now;
        used_ = false;
    }

private:
    /// The moment so far from the known end came since the last check.
    bool isPassed(std::int64_t fromExpiry, std::int64_t now) const {
        return expiry_ && checked_ < *expiry_ + fromExpiry && *expiry_ + fromExpiry <= now;
    }

    std::int64_t checked_;
    std::optional<std::int64_t> expiry_;
    bool used_ = false;
};

} // namespace zorbel
