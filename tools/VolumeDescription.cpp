#include "tools/VolumeDescription.h"

#include "base/digest/Sha256.h"
#include "imaging/display/VisitVoxels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <span>
#include <stdexcept>

namespace zorbel::tools {

namespace {

using imaging::Image;
using Json = nlohmann::ordered_json;

static_assert(std::endian::native == std::endian::little, "digests are of little-endian values");

struct VoxelSummary {
    double mean = 0.0;
    std::string sha256;
};

template <class T>
VoxelSummary summarize(const T* values, std::size_t count) {
    Sha256 hash;
    std::array<double, 8192> piece{};
    double total = 0.0;
    bool hashed = true;
    // In pieces, so that small terms do not vanish beside a large total.
    for (std::size_t first = 0; first < count; first += piece.size()) {
        const std::size_t length = std::min(piece.size(), count - first);
        double part = 0.0;
        for (std::size_t i = 0; i < length; ++i) {
            piece[i] = static_cast<double>(values[first + i]);
            part += piece[i];
        }
        total += part;
        hashed = hashed && hash.update(std::as_bytes(std::span(piece).first(length)));
    }
    VoxelSummary summary{total / static_cast<double>(count), hash.finish()};
    if (!hashed || summary.sha256.empty())
        throw std::runtime_error("SHA-256 failed");
    return summary;
}

std::vector<std::string> reasonTexts(const std::vector<imaging::SplitReason>& reasons) {
    std::vector<std::string> texts;
    for (const imaging::SplitReason& reason : reasons) {
        std::string text(imaging::splitReasonName(reason.type));
        if (!reason.details.empty())
            text += ':' + reason.details;
        texts.push_back(std::move(text));
    }
    return texts;
}

Json windowJson(const imaging::ImageMetadata& metadata) {
    if (metadata.windows.empty())
        return nullptr;
    const imaging::LevelWindow& window = metadata.windows.front();
    const char* const function = window.function == imaging::VoiFunction::Sigmoid       ? "SIGMOID"
                                 : window.function == imaging::VoiFunction::LinearExact ? "LINEAR_EXACT"
                                                                                        : "LINEAR";
    return {{"center", window.center}, {"width", window.width}, {"function", function}};
}

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

/// The same grid computed by two ways differs in the last bits.
template <std::size_t N>
std::array<double, N> rounded(std::array<double, N> values) {
    for (double& value : values)
        value = std::round(value * 1e12) / 1e12 + 0.0;
    return values;
}

} // namespace

Json describeVolume(
    const Image& image, const std::vector<imaging::SplitReason>& splitReasons, double decodeMs) {
    const imaging::ImageGeometry& geometry = image.geometry();
    const imaging::ImageMetadata& metadata = image.metadata();
    const VoxelSummary voxels = imaging::visitVoxels(
        image, [](const auto* values, std::size_t count) { return summarize(values, count); });
    return {
        {"seriesInstanceUID", textOrNull(metadata.seriesInstanceUID)},
        {"frames", geometry.dimensions()[2]},
        {"splitReasons", reasonTexts(splitReasons)},
        {"dimensions", geometry.dimensions()},
        {"spacing", rounded(geometry.spacing())},
        {"origin", rounded(geometry.origin())},
        {"direction", rounded(geometry.direction())},
        {"sliceStep", rounded(geometry.sliceStep())},
        {"voxelType", imaging::voxelTypeName(image.voxelType())},
        {"components", image.components()},
        {"minimum", metadata.minimum},
        {"maximum", metadata.maximum},
        {"mean", voxels.mean},
        {"sha256", voxels.sha256},
        {"window", windowJson(metadata)},
        {"photometricInterpretation", textOrNull(metadata.photometricInterpretation)},
        {"decodeMs", decodeMs},
    };
}

std::string jsonText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

} // namespace zorbel::tools
