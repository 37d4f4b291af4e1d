#pragma once

#include <iosfwd>
#include <span>
#include <string>

namespace zorbel::tools {

/// Where a command writes: results to `out`, one line of reason to `error`.
struct Streams {
    std::ostream& out;
    std::ostream& error;
};

/// Finds the command that the arguments (without the program's name) begin with and runs it. Returns the exit
/// status: 0 done, 1 failed, 2 wrong usage.
int runCommandLine(std::span<const std::string> arguments, const Streams& streams);

} // namespace zorbel::tools
