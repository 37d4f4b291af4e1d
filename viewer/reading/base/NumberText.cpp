#include "viewer/reading/base/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace zorbel {

std::string fixedText(double value, int decimals) {
    constexpr int mostDecimals = 20;
    std::array<char, std::numeric_limits<double>::max_exponent10 + mostDecimals + 4> buffer{};
    const auto result = std::to_chars(
        buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed,
        std::clamp(decimals, 0, mostDecimals));
    std::string text(buffer.data(), result.ptr);
    if (text.front() == '-' && text.find_first_not_of("-0.") == std::string::npos)
        text.erase(0, 1);
    return text;
}

} // namespace zorbel
