#include "imaging/display/DefaultWindow.h"

#include "imaging/display/VisitVoxels.h"

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

namespace {

/// A stride that keeps clear of the columns' and rows' periods, so that no structure is met in step.
std::size_t samplingStride(const Image& image, std::size_t limit) {
    const auto& size = image.geometry().dimensions();
    const auto voxels = image.voxels().size() / bytesPerComponent(image.voxelType()) /
                        static_cast<std::size_t>(image.components());
    std::size_t stride = std::max<std::size_t>(1, voxels / std::max<std::size_t>(limit, 1));
    if (stride == 1)
        return stride;
    const auto sharesPeriod = [&](std::size_t candidate) {
        for (const int length : {size[0], size[1]}) {
            const auto period = static_cast<std::size_t>(length);
            if (period > 1 && (period % candidate == 0 || candidate % period == 0))
                return true;
        }
        return candidate % 2 == 0;
    };
    while (sharesPeriod(stride))
        ++stride;
    return stride;
}

} // namespace

std::vector<float> sampleValues(const Image& image, std::size_t limit) {
    const auto stride = samplingStride(image, limit) * static_cast<std::size_t>(image.components());
    const auto& padding = image.metadata().padding;
    std::vector<float> samples;
    visitVoxels(image, [&](const auto* values, std::size_t count) {
        samples.reserve(count / stride + 1);
        for (std::size_t index = 0; index < count; index += stride) {
            const auto value = static_cast<double>(values[index]);
            if (!std::isfinite(value) || (padding && value >= padding->first && value <= padding->second))
                continue;
            samples.push_back(static_cast<float>(value));
        }
    });
    std::sort(samples.begin(), samples.end());
    return samples;
}

LevelWindow defaultWindow(const Image& image) {
    double low = image.metadata().minimum;
    double high = image.metadata().maximum;
    if (const std::vector<float> samples = sampleValues(image); !samples.empty()) {
        const auto last = static_cast<double>(samples.size() - 1);
        low = samples[static_cast<std::size_t>(0.01 * last)];
        high = samples[static_cast<std::size_t>(std::ceil(0.99 * last))];
        if (low == high) {
            low = samples.front();
            high = samples.back();
        }
    }
    LevelWindow window;
    const double narrowest = image.voxelType() == VoxelType::Float32 && high > low ? high - low : 1.0;
    window.width = std::max(high - low, narrowest);
    window.center = (low + high) / 2.0;
    window.function = VoiFunction::LinearExact;
    return window;
}

LevelWindow initialWindow(const Image& image) {
    for (const LevelWindow& window : image.metadata().windows) {
        if (std::isfinite(window.center) && std::isfinite(window.width) && window.width > 0.0)
            return window;
    }
    return defaultWindow(image);
}

} // namespace zorbel::imaging
