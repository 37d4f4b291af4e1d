#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace zorbel {

/// Where a program of this user listens for the user's others: a socket in a folder that is private to the
/// user (Linux), or a named pipe (Windows). The programs agree on an identifier, a safe file name, which on
/// Windows nobody else must be able to guess.
class LocalEndpoint {
public:
    /// The folder must exist. Throws std::system_error.
    LocalEndpoint(const std::filesystem::path& folder, const std::string& identifier);
    ~LocalEndpoint();
    LocalEndpoint(const LocalEndpoint&) = delete;
    LocalEndpoint& operator=(const LocalEndpoint&) = delete;

    /// As QLocalServer and QLocalSocket take it; it is good for as long as this object lives.
    const std::string& name() const { return name_; }

private:
    std::intptr_t folder_ = -1; ///< the system's file descriptor, where the name needs it
    std::string name_;
};

} // namespace zorbel
