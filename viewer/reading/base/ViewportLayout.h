#pragma once

#include <optional>
#include <string_view>

namespace zorbel {

/// How the viewports of a mode share the workspace; in the order of Ctrl+1 to Ctrl+4.
enum class Layout { Quad = 0, Single = 1, SideBySide = 2, PrimaryPlusThree = 3 };

/// "2x2", "1x1", "1x2", "1+3".
std::string_view layoutLabel(Layout layout);
/// The name in files: "quad", "single", "side-by-side", "primary-plus-three".
std::string_view layoutName(Layout layout);
/// Nothing for an unknown name.
std::optional<Layout> layoutFromName(std::string_view name);

} // namespace zorbel
