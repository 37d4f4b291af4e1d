#include "viewer/reading/state/ReadingPosition.h"

#include "viewer/reading/state/JsonText.h"
#include "viewer/reading/state/VectorJson.h"

#include <array>

namespace zorbel {

namespace {

using nlohmann::json;

constexpr int version = 1;
constexpr std::size_t mostSeries = 1000; ///< of a study; no study has as many
constexpr std::array<const char*, 3> planeKeys{"axial", "coronal", "sagittal"};

std::optional<PlaneBases> basesFrom(const json& axes) {
    PlaneBases bases;
    for (std::size_t plane = 0; plane < planeKeys.size(); ++plane) {
        const json* vectors = json_text::array(axes, planeKeys[plane]);
        if (vectors == nullptr || vectors->size() != 2)
            return std::nullopt;
        const auto axis0 = vectorFromJson((*vectors)[0]);
        const auto axis1 = vectorFromJson((*vectors)[1]);
        if (!axis0 || !axis1)
            return std::nullopt;
        bases[plane] = {*axis0, *axis1};
    }
    return areOrthogonal(bases) ? std::optional(bases) : std::nullopt;
}

std::optional<PlanesPosition> planesFrom(const json& object) {
    if (!object.is_object())
        return std::nullopt;
    const json* point = json_text::array(object, "crosshair");
    const auto crosshair = point != nullptr ? vectorFromJson(*point) : std::nullopt;
    const auto axes = object.find("axes");
    const auto bases = axes != object.end() ? basesFrom(*axes) : std::nullopt;
    if (!crosshair || !bases)
        return std::nullopt;
    return PlanesPosition{*crosshair, *bases};
}

json toJson(const PlanesPosition& position) {
    json axes = json::object();
    for (std::size_t plane = 0; plane < planeKeys.size(); ++plane)
        axes[planeKeys[plane]] = json::array({position.axes[plane].axis0, position.axes[plane].axis1});
    return {{"crosshair", position.crosshair}, {"axes", axes}};
}

} // namespace

std::optional<PlanesPosition> ReadingPosition::of(const std::string& key) const {
    auto found = series.find(key);
    if (found == series.end())
        found = series.find({});
    return found != series.end() ? std::optional(found->second) : std::nullopt;
}

std::string readingPositionText(const ReadingPosition& position) {
    json series = json::object();
    for (const auto& [key, planes] : position.series)
        series[key] = toJson(planes);
    json file{
        {"version", version},
        {"studyInstanceUid", position.studyInstanceUid},
        {"modality", position.modality},
        {"series", std::move(series)},
        {"lastSeries", position.last}};
    if (const auto last = position.of(position.last))
        file["reading"] = toJson(*last);
    return json_text::write(file);
}

std::optional<ReadingPosition> readingPositionFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_object() || !json_text::integer(*file, "version", version, version))
        return std::nullopt;
    const auto reading = file->find("reading");
    const auto last = reading != file->end() ? planesFrom(*reading) : std::nullopt;
    if (!last)
        return std::nullopt;
    ReadingPosition position;
    position.studyInstanceUid = json_text::text(*file, "studyInstanceUid");
    position.modality = json_text::text(*file, "modality");
    position.last = json_text::text(*file, "lastSeries");
    position.series[position.last] = *last;
    const auto series = file->find("series");
    if (series == file->end() || !series->is_object())
        return position;
    for (const auto& [key, object] : series->items())
        if (const auto planes = planesFrom(object); planes && position.series.size() < mostSeries)
            position.series.emplace(key, *planes);
    return position;
}

} // namespace zorbel
