#include "viewer/reading/base/ViewportLayout.h"

#include <array>
#include <cstddef>

namespace zorbel {

namespace {

struct LayoutWords {
    Layout layout;
    std::string_view label;
    std::string_view name;
};

constexpr std::array<LayoutWords, 4> words{{
    {Layout::Quad, "2x2", "quad"},
    {Layout::Single, "1x1", "single"},
    {Layout::SideBySide, "1x2", "side-by-side"},
    {Layout::PrimaryPlusThree, "1+3", "primary-plus-three"},
}};

const LayoutWords& wordsOf(Layout layout) {
    return words[static_cast<std::size_t>(layout)];
}

} // namespace

std::string_view layoutLabel(Layout layout) {
    return wordsOf(layout).label;
}

std::string_view layoutName(Layout layout) {
    return wordsOf(layout).name;
}

std::optional<Layout> layoutFromName(std::string_view name) {
    for (const LayoutWords& candidate : words) {
        if (candidate.name == name)
            return candidate.layout;
    }
    return std::nullopt;
}

} // namespace zorbel
