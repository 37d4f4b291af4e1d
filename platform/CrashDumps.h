#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// The dumps in the folder that installCrashReporting() was given. Any thread.
class CrashDumps {
public:
    static constexpr std::size_t mostKept = 10;

    struct Dump {
        std::filesystem::path file;
        std::chrono::sys_seconds time; ///< of the fault
        std::uintmax_t size = 0;       ///< in bytes
    };

    CrashDumps(std::filesystem::path folder, std::string_view baseName);

    /// The newest first; empty where the folder is not there or cannot be read.
    std::vector<Dump> list() const;
    /// All but the newest ones; one that cannot be removed stays.
    void removeOldest() const;

private:
    std::filesystem::path folder_;
    std::string baseName_;
};

} // namespace zorbel
