#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace zorbel {

/// How a load went, for diagnostics. Value type; names nobody.
struct LoadRecord {
    struct Stage {
        std::string name;
        std::chrono::milliseconds took{0};
    };
    std::vector<Stage> stages; ///< in their order
    std::size_t files = 0;     ///< of the series, DICOM
    std::size_t blocks = 0;    ///< that they were grouped into
    std::size_t rejectedFiles = 0;
    std::vector<std::string> splitReasons; ///< of the block that is shown

    /// Adds a stage that began then and ends now.
    void add(std::string name, std::chrono::steady_clock::time_point begun) {
        stages.push_back(
            {std::move(name), std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - begun)});
    }
    /// The stages of an earlier part of the same load.
    void prepend(const LoadRecord& earlier) {
        stages.insert(stages.begin(), earlier.stages.begin(), earlier.stages.end());
    }
};

} // namespace zorbel
