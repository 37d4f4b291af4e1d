#include "imaging/display/VolumeAppearance.h"

#include "imaging/display/DefaultWindow.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace zorbel::imaging {

namespace {

/// The value that divides sorted samples into two groups with the greatest variance between them (N. Otsu,
/// 1979).
double otsu(const std::vector<float>& sorted, std::size_t begin, std::size_t end) {
    constexpr std::size_t bins = 256;
    const double low = sorted[begin];
    const double high = sorted[end - 1];
    if (!(high > low))
        return low;
    std::array<double, bins> histogram{};
    double total = 0.0;
    for (std::size_t index = begin; index < end; ++index) {
        const auto bin = static_cast<std::size_t>((sorted[index] - low) / (high - low) * (bins - 1));
        histogram[bin] += 1.0;
        total += static_cast<double>(bin);
    }
    const auto count = static_cast<double>(end - begin);
    double below = 0.0;
    double sumBelow = 0.0;
    double best = -1.0;
    std::size_t bestBin = 0;
    for (std::size_t bin = 0; bin + 1 < bins; ++bin) {
        below += histogram[bin];
        sumBelow += histogram[bin] * static_cast<double>(bin);
        if (below == 0.0 || below == count)
            continue;
        const double difference = sumBelow / below - (total - sumBelow) / (count - below);
        const double between = below * (count - below) * difference * difference;
        if (between > best) {
            best = between;
            bestBin = bin;
        }
    }
    return low + (static_cast<double>(bestBin) + 0.5) / (bins - 1) * (high - low);
}

struct BoneRange {
    double begins; ///< first trace of bone
    double dense;  ///< cortical bone and teeth
};

BoneRange boneRange(const Image& image) {
    if (image.metadata().hounsfieldUnits)
        return {220.0, 1300.0};
    const std::vector<float> samples = sampleValues(image);
    if (samples.size() < 16) {
        const double low = image.metadata().minimum;
        const double high = std::max(image.metadata().maximum, low + 1e-6);
        return {low + 0.5 * (high - low), high};
    }
    // Metal and single outliers must not stretch the histogram.
    const std::size_t end = samples.size() - samples.size() / 2000;
    const double tissue = otsu(samples, 0, end);
    auto begin = static_cast<std::size_t>(
        std::upper_bound(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(end), tissue) -
        samples.begin());
    if (begin + 16 > end)
        begin = 0;
    const double bone = otsu(samples, begin, end);
    const double top = samples[end - 1];
    return {bone, std::max(bone + 0.7 * (top - bone), bone + 1e-6 * std::max(1.0, std::abs(bone)))};
}

} // namespace

VolumeAppearance boneAppearance(const Image& image) {
    const auto [begins, dense] = boneRange(image);
    const double span = dense - begins;
    VolumeAppearance appearance;
    appearance.points = {
        {begins - 0.20 * span, 0.55, 0.25, 0.15, 0.0},
        {begins, 0.66, 0.40, 0.26, 0.0},
        {begins + 0.10 * span, 0.80, 0.62, 0.44, 0.12},
        {begins + 0.35 * span, 0.92, 0.84, 0.70, 0.55},
        {dense, 0.98, 0.95, 0.88, 0.85},
        {dense + span, 1.0, 1.0, 1.0, 0.95}};
    return appearance;
}

} // namespace zorbel::imaging
