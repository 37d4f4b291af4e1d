#include "base/Uid.h"

#include <cstddef>

namespace zorbel {

bool isUid(std::string_view text) {
    constexpr std::size_t longest = 64;
    bool digitBefore = false;
    for (const char c : text) {
        const bool digit = c >= '0' && c <= '9';
        if (!digit && (c != '.' || !digitBefore))
            return false;
        digitBefore = digit;
    }
    return digitBefore && text.size() <= longest;
}

std::optional<std::string_view> uidIn(std::string_view text) {
    constexpr std::string_view padding(" \t\r\n\f\v\0", 7);
    const std::size_t first = text.find_first_not_of(padding);
    if (first == std::string_view::npos)
        return std::nullopt;
    text = text.substr(first, text.find_last_not_of(padding) + 1 - first);
    return isUid(text) ? std::optional(text) : std::nullopt;
}

} // namespace zorbel
