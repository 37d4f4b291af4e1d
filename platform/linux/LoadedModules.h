#pragma once

#include "platform/linux/FixedText.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string_view>

struct link_map;

namespace zorbel {

/// Where code lies: in which of the program's modules and how far from its start, which with the module's
/// build id is enough to find the line of the source. Neither allocates nor locks: usable within a signal
/// handler that calls FaultGuard::onFault(), by one thread.
class LoadedModules {
public:
    /// program: the executable's file name; must outlive this.
    explicit LoadedModules(std::string_view program) noexcept : program_(program) {}

    /// "module+0x1a2b", or "?" for code of no module; the address itself would tell nobody anything.
    void describe(FixedText<512>& to, const void* code) noexcept;
    /// One line for each module that was described, "module 0123…": its build id.
    void writeBuildIds(int file) const noexcept;

    static bool contain(const void* code) noexcept;
    /// Of the module that holds the code; "unknown" where it has none.
    static void describeBuildId(FixedText<512>& to, const void* code) noexcept;

private:
    void describeModule(FixedText<512>& place, const void* code) noexcept;
    std::string_view nameOf(const link_map& module) const noexcept;

    /// Read at once: a module may be unloaded by another thread while the dump is written.
    struct Seen {
        const link_map* module = nullptr;
        FixedText<512> line;
    };
    std::string_view program_;
    std::array<Seen, 64> seen_{};
    std::size_t seenCount_ = 0;
};

} // namespace zorbel
