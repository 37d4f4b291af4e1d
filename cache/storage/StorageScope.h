#pragma once

#include <filesystem>
#include <string>

namespace zorbel {

/// Whose studies a storage holds: one user in one organization. The identifier is the first 24 characters of
/// the lower-case hexadecimal SHA-256 of organization + "|" + user, so that folders name nobody.
class StorageScope {
public:
    /// Throws std::invalid_argument "Viewer storage requires organization and user identity".
    static StorageScope of(const std::string& organizationId, const std::string& userId);
    /// Throws std::invalid_argument "Invalid viewer storage scope".
    static StorageScope fromIdentifier(const std::string& identifier);

    const std::string& identifier() const { return identifier_; }
    friend bool operator==(const StorageScope&, const StorageScope&) = default;

private:
    explicit StorageScope(std::string identifier) : identifier_(std::move(identifier)) {}
    std::string identifier_;
};

} // namespace zorbel
