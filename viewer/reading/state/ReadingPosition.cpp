#include "viewer/reading/state/ReadingPosition.h"

#include "viewer/reading/state/JsonText.h"

#include <array>
#include <cmath>

namespace zorbel {

namespace {

using nlohmann::json;

constexpr int version = 1;
constexpr std::array<const char*, 3> planeKeys{"axial", "coronal", "sagittal"};

std::optional<imaging::Vector3> vectorFrom(const json& value) {
    // Far beyond any patient, and far from where squares overflow.
    constexpr double largest = 1e9;
    imaging::Vector3 vector{};
    if (!value.is_array() || value.size() != vector.size())
        return std::nullopt;
    for (std::size_t index = 0; index < vector.size(); ++index) {
        if (!value[index].is_number())
            return std::nullopt;
        vector[index] = value[index].get<double>();
        if (!(std::abs(vector[index]) <= largest))
            return std::nullopt;
    }
    return vector;
}

std::optional<PlaneBases> basesFrom(const json& axes) {
    PlaneBases bases;
    for (std::size_t plane = 0; plane < planeKeys.size(); ++plane) {
        const json* vectors = json_text::array(axes, planeKeys[plane]);
        if (vectors == nullptr || vectors->size() != 2)
            return std::nullopt;
        const auto axis0 = vectorFrom((*vectors)[0]);
        const auto axis1 = vectorFrom((*vectors)[1]);
        if (!axis0 || !axis1)
            return std::nullopt;
        bases[plane] = {*axis0, *axis1};
    }
    return areOrthogonal(bases) ? std::optional(bases) : std::nullopt;
}

} // namespace

std::string readingPositionText(const ReadingPosition& position) {
    json axes = json::object();
    for (std::size_t plane = 0; plane < planeKeys.size(); ++plane)
        axes[planeKeys[plane]] = json::array({position.axes[plane].axis0, position.axes[plane].axis1});
    return json_text::write(
        {{"version", version},
         {"studyInstanceUid", position.studyInstanceUid},
         {"modality", position.modality},
         {"reading", {{"crosshair", position.crosshair}, {"axes", axes}}}});
}

std::optional<ReadingPosition> readingPositionFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_object() || !json_text::integer(*file, "version", version, version))
        return std::nullopt;
    const auto reading = file->find("reading");
    if (reading == file->end() || !reading->is_object())
        return std::nullopt;
    const json* point = json_text::array(*reading, "crosshair");
    const auto crosshair = point != nullptr ? vectorFrom(*point) : std::nullopt;
    const auto axes = reading->find("axes");
    const auto bases = axes != reading->end() ? basesFrom(*axes) : std::nullopt;
    if (!crosshair || !bases)
        return std::nullopt;
    return ReadingPosition{
        json_text::text(*file, "studyInstanceUid"), json_text::text(*file, "modality"), *crosshair, *bases};
}

} // namespace zorbel
