#include "imaging/display/GreyRamp.h"

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

constexpr std::uint32_t black = 0xFF000000U;
constexpr std::uint32_t greyOfAllChannels = 0x00010101U;
constexpr std::size_t curveEntries = 16384;

} // namespace

GreyRamp::GreyRamp(const LevelWindow& window, bool inverted) : inverted_(inverted) {
    if (window.function == VoiFunction::Sigmoid && window.width > 0.0) {
        buildCurve(window);
        return;
    }
    double center = window.center;
    double width = std::max(window.width, 0.0);
    if (window.function == VoiFunction::Linear) {
        center -= 0.5;
        width = std::max(window.width, 1.0) - 1.0;
    }
    center_ = static_cast<float>(center);
    const float direction = inverted ? -1.0F : 1.0F;
    if (width > 0.0) {
        slope_ = direction * static_cast<float>(std::min(255.0 / width, 1e30));
        offset_ = 127.5F + 0.5F;
    } else { // a threshold: white above the centre
        slope_ = direction * 1e30F;
        offset_ = inverted ? 255.5F : 0.0F;
    }
}

void GreyRamp::buildCurve(const LevelWindow& window) {
    // A sigmoid is within half a grey of its ends at 1.56 widths from the centre.
    constexpr double reach = 2.0;
    const double step = 2.0 * reach * window.width / (curveEntries - 1);
    curve_.resize(curveEntries + 1);
    curve_[0] = black;
    for (std::size_t entry = 0; entry < curveEntries; ++entry) {
        const double value = window.center + (static_cast<double>(entry) - (curveEntries - 1) / 2.0) * step;
        const double grey = applyWindow(window, value);
        const auto level = static_cast<std::uint32_t>(std::lround(255.0 * (inverted_ ? 1.0 - grey : grey)));
        curve_[entry + 1] = black | (level * greyOfAllChannels);
    }
    center_ = static_cast<float>(window.center);
    slope_ = static_cast<float>(1.0 / step);
    offset_ = static_cast<float>(1.0 + (curveEntries - 1) / 2.0 + 0.5);
}

void GreyRamp::map(const float* values, std::size_t count, std::uint32_t* pixels) const {
    const float center = center_;
    const float slope = slope_;
    const float offset = offset_;
    if (curve_.empty()) {
        for (std::size_t index = 0; index < count; ++index) {
            float grey = (values[index] - center) * slope + offset;
            // Written so that a value that is no number becomes 0.
            grey = grey > 0.0F ? grey : 0.0F;
            grey = grey < 255.0F ? grey : 255.0F;
            pixels[index] = black | (static_cast<std::uint32_t>(static_cast<int>(grey)) * greyOfAllChannels);
        }
        return;
    }
    for (std::size_t index = 0; index < count; ++index) {
        float entry = (values[index] - center) * slope + offset;
        if (entry < 1.0F)
            entry = 1.0F;
        entry = entry > 0.0F ? entry : 0.0F;
        entry = entry < static_cast<float>(curveEntries) ? entry : static_cast<float>(curveEntries);
        pixels[index] = curve_[static_cast<std::size_t>(entry)];
    }
}

} // namespace zorbel::imaging
