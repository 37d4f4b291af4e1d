#include "viewer/reading/display/WindowPresets.h"

#include "viewer/reading/base/NumberText.h"

#include <cmath>

namespace zorbel {

namespace {

std::string valueText(double value) {
    const bool fine = std::abs(value) < 10.0 && value != std::floor(value);
    return fixedText(value, fine ? 2 : 0);
}

} // namespace

imaging::LevelWindow WindowPreset::window() const {
    imaging::LevelWindow result;
    result.center = level;
    result.width = width;
    result.explanation = name;
    return result;
}

std::string WindowPreset::statusText() const {
    return std::string(name) + " — " + windowText(window());
}

std::string windowText(const imaging::LevelWindow& window) {
    return "W: " + valueText(window.width) + "  L: " + valueText(window.center);
}

} // namespace zorbel
