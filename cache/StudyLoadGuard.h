#pragma once

#include <cstdint>

namespace zorbel {

/// Tells a load's result from that of an older request. Every open takes a ticket; a result whose ticket is
/// no longer current is stale. User-interface thread only.
class StudyLoadGuard {
public:
    class Ticket {
    public:
        Ticket() = default;
        friend bool operator==(const Ticket&, const Ticket&) = default;

    private:
        friend class StudyLoadGuard;
        explicit Ticket(std::uint64_t generation) : generation_(generation) {}
        std::uint64_t generation_ = 0;
    };

    /// Starts a new generation: every ticket handed out before is stale from now on.
    Ticket take() { return Ticket(++generation_); }
    bool isCurrent(const Ticket& ticket) const { return ticket.generation_ == generation_; }

private:
    std::uint64_t generation_ = 0;
};

} // namespace zorbel
