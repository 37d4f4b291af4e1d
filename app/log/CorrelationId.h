#pragma once

#include <string>
#include <utility>

namespace zorbel {

/// The text that ties together the log lines of one piece of work. Each thread has its own, empty until set;
/// work that moves to another thread carries it there by value and sets it again with a Scope.
class CorrelationId {
public:
    static std::string current();
    /// Returns the previous value, to be handed to restore().
    static std::string set(std::string id);
    static void restore(std::string previous);
    /// "sess-" + steady clock in whole milliseconds + "-load-" + a counter of this process.
    static std::string generate();

    /// Sets an identifier for this thread and brings back the previous one at the end of the scope.
    class Scope {
    public:
        explicit Scope(std::string id) : previous_(set(std::move(id))) {}
        ~Scope() { restore(std::move(previous_)); }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        std::string previous_;
    };
};

} // namespace zorbel
