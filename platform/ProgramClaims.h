#pragma once

#include "platform/FileLock.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace zorbel {

/// Which programs of this user work with something just now: each holds a claim, a locked file that is named
/// by a common prefix and 16 hexadecimal digits of its own, and whose lock ends with its process however that
/// ends. A program that ends properly removes its claim; an unlocked one was left by a program that died. To
/// decide something by the number of claims, all must take and give up theirs under a lock of their own.
class ProgramClaims {
public:
    /// prefix: the claims' folder, and what their names begin with. Nothing is created.
    explicit ProgramClaims(std::filesystem::path prefix) : prefix_(std::move(prefix)) {}

    /// Takes a claim: the lock and the digits in its name. The folder must exist. Throws std::system_error.
    std::pair<FileLock, std::string> take() const;

    /// What is there, the newest first. This process's own claims are among the living; whether another
    /// account's is alive cannot be told, and it counts as that. Throws std::filesystem::filesystem_error
    /// where the folder cannot be read.
    struct Found {
        std::vector<std::string> living; ///< their digits
        std::vector<std::string> dead;
    };
    Found find() const;

    /// Removes a claim unless it is alive.
    void removeDead(const std::string& digits) const noexcept;

private:
    std::filesystem::path fileOf(const std::string& digits) const;
    bool isAlive(const std::string& digits) const noexcept;

    std::filesystem::path prefix_;
};

} // namespace zorbel
