#include "imaging/display/TissueScale.h"

#include "imaging/display/DefaultWindow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <span>
#include <vector>

namespace zorbel::imaging {

namespace {

using Samples = std::span<const float>; ///< sorted

constexpr TissueScale hounsfieldScale{};
constexpr std::size_t fewestSamples = 16;

/// The value that divides the samples into two groups with the greatest variance between them.
double otsu(Samples samples) {
    constexpr std::size_t bins = 256;
    const double low = samples.front();
    const double high = samples.back();
    if (!(high > low))
        return low;
    std::array<double, bins> histogram{};
    double total = 0.0;
    for (const float sample : samples) {
        const auto bin = static_cast<std::size_t>((sample - low) / (high - low) * (bins - 1));
        histogram[bin] += 1.0;
        total += static_cast<double>(bin);
    }
    const auto count = static_cast<double>(samples.size());
    double below = 0.0;
    double sumBelow = 0.0;
    double best = -1.0;
    // Where no sample lies between the groups, all bins there are as good: the middle one then.
    std::size_t firstBest = 0;
    std::size_t lastBest = 0;
    for (std::size_t bin = 0; bin + 1 < bins; ++bin) {
        below += histogram[bin];
        sumBelow += histogram[bin] * static_cast<double>(bin);
        if (below == 0.0 || below == count)
            continue;
        const double difference = sumBelow / below - (total - sumBelow) / (count - below);
        const double between = below * (count - below) * difference * difference;
        if (between > best) {
            best = between;
            firstBest = bin;
        }
        if (between == best)
            lastBest = bin;
    }
    return low + (static_cast<double>(firstBest + lastBest) / 2.0 + 0.5) / (bins - 1) * (high - low);
}

double at(Samples samples, double part) {
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
}

std::size_t countBelow(Samples samples, double value) {
    return static_cast<std::size_t>(
        std::upper_bound(samples.begin(), samples.end(), value) - samples.begin());
}

/// Without the lowest value where it is frequent and far from all others: nothing was measured there.
Samples withoutFill(Samples samples) {
    const std::size_t fill = countBelow(samples, samples.front());
    const Samples rest = samples.subspan(fill);
    if (rest.size() < fewestSamples || fill < samples.size() / 50)
        return samples;
    const double gap = at(rest, 0.001) - samples.front();
    return gap > 0.15 * (at(rest, 0.999) - samples.front()) && rest.size() > samples.size() / 4 ? rest
                                                                                                : samples;
}

/// Strictly ascending whatever was found.
void separate(TissueScale& scale) {
    const double least = 1e-6 * std::max({1.0, std::abs(scale.air), std::abs(scale.high)});
    scale.soft = std::max(scale.soft, scale.air + least);
    scale.bone = std::max(scale.bone, scale.soft + least);
    scale.dense = std::max(scale.dense, scale.bone + least);
    scale.high = std::max(scale.high, scale.low + least);
}

} // namespace

TissueScale TissueScale::of(const Image& image) {
    TissueScale scale;
    const std::vector<float> values = sampleValues(image);
    if (values.size() < fewestSamples) {
        scale.low = image.metadata().minimum;
        scale.high = image.metadata().maximum;
        separate(scale);
        if (image.metadata().hounsfieldUnits)
            return scale;
        const double span = scale.high - scale.low;
        scale.air = scale.low;
        scale.soft = scale.low + 0.3 * span;
        scale.bone = scale.low + 0.5 * span;
        scale.dense = scale.low + 0.8 * span;
        separate(scale);
        return scale;
    }
    // Metal and single outliers must not stretch the histogram.
    const Samples all(values);
    const Samples samples = withoutFill(all.first(all.size() - all.size() / 2000));
    scale.low = at(samples, 0.002);
    scale.high = samples.back();
    if (!image.metadata().hounsfieldUnits) {
        const std::size_t airCount = countBelow(samples, otsu(samples));
        const Samples tissue =
            airCount + fewestSamples > samples.size() ? samples : samples.subspan(airCount);
        scale.bone = otsu(tissue);
        const Samples softTissue = tissue.first(std::max<std::size_t>(countBelow(tissue, scale.bone), 1));
        scale.air = airCount > 0 ? at(samples.first(airCount), 0.5) : scale.low;
        scale.soft = at(softTissue, 0.5);
        scale.dense = scale.bone + 0.5 * (samples.back() - scale.bone);
    }
    separate(scale);
    return scale;
}

double TissueScale::valueOf(double hounsfield) const {
    const std::array<double, 4> from{
        hounsfieldScale.air, hounsfieldScale.soft, hounsfieldScale.bone, hounsfieldScale.dense};
    const std::array<double, 4> to{air, soft, bone, dense};
    // The outermost pieces go on beyond their ends.
    std::size_t piece = 0;
    while (piece + 2 < from.size() && hounsfield > from[piece + 1])
        ++piece;
    const double part = (hounsfield - from[piece]) / (from[piece + 1] - from[piece]);
    return to[piece] + part * (to[piece + 1] - to[piece]);
}

double TissueScale::slope() const {
    return (dense - soft) / (hounsfieldScale.dense - hounsfieldScale.soft);
}

} // namespace zorbel::imaging
