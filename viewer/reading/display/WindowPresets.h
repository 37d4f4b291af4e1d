#pragma once

#include "imaging/VoiTransform.h"

#include <array>
#include <string>
#include <string_view>

namespace zorbel {

/// The windows of the keys 1 to 9 and how a window is written. Widths and levels are in the image's values,
/// which for cone beam images are not Hounsfield units.
struct WindowPreset {
    std::string_view name;
    double width = 1.0;
    double level = 0.0;

    imaging::LevelWindow window() const;
    /// "Bone — W: 1800  L: 400".
    std::string statusText() const;
};

/// In the order of the keys.
constexpr std::array<WindowPreset, 9> windowPresets{{
    {"Bone", 1800.0, 400.0},
    {"Temporal bone", 2800.0, 600.0},
    {"Soft tissue", 400.0, 50.0},
    {"Brain", 80.0, 40.0},
    {"Lung", 1500.0, -600.0},
    {"Liver", 150.0, 30.0},
    {"Mediastinum", 350.0, 50.0},
    {"CT angio", 600.0, 300.0},
    {"Full range", 4000.0, 1000.0},
}};

/// "W: 1800  L: 400"; values under 10 with two decimals, as floating-point images need them.
std::string windowText(const imaging::LevelWindow& window);

} // namespace zorbel
