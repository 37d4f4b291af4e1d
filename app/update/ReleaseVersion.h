#pragma once

#include <QString>

#include <array>
#include <compare>
#include <optional>

namespace zorbel {

/// Three dotted numbers, compared as numbers.
struct ReleaseVersion {
    std::array<quint32, 3> numbers{};

    /// Nothing for any other text, and for numbers that no 32 bits hold.
    static std::optional<ReleaseVersion> parse(const QString& text);

    friend auto operator<=>(const ReleaseVersion&, const ReleaseVersion&) = default;
};

} // namespace zorbel
