#include "cache/storage/StorageScope.h"

#include "base/digest/Sha256.h"

#include <algorithm>
#include <span>
#include <stdexcept>

namespace zorbel {

namespace {

constexpr std::size_t identifierLength = 24;

} // namespace

StorageScope StorageScope::of(const std::string& organizationId, const std::string& userId) {
    if (organizationId.empty() || userId.empty())
        throw std::invalid_argument("Viewer storage requires organization and user identity");
    const std::string identity = organizationId + "|" + userId;
    return StorageScope(sha256Hex(std::as_bytes(std::span(identity))).substr(0, identifierLength));
}

StorageScope StorageScope::fromIdentifier(const std::string& identifier) {
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    if (identifier.size() != identifierLength || !std::all_of(identifier.begin(), identifier.end(), isDigit))
        throw std::invalid_argument("Invalid viewer storage scope");
    return StorageScope(identifier);
}

} // namespace zorbel
