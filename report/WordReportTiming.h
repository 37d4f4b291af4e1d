#pragma once

#include <chrono>

namespace zorbel {

/// How long a report waits for what.
struct WordReportTiming {
    /// Between a sign of a change and the look at the file: a save is several operations.
    std::chrono::milliseconds settle{150};
    /// Between looks at a file whose system tells of no changes.
    std::chrono::milliseconds poll{1000};
    /// After a failure; doubled with each further one.
    std::chrono::milliseconds firstRetry{2000};
    std::chrono::milliseconds longestRetry{60000};
};

} // namespace zorbel
