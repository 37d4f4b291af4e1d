#include "viewer/reading/state/HangingProtocol.h"

#include "viewer/reading/state/JsonText.h"
#include "viewer/reading/state/VectorJson.h"

#include <algorithm>

namespace zorbel {

namespace {

using nlohmann::json;
using Window = HangingProtocol::Window;

constexpr std::size_t mostSeries = 1000; ///< of a study; no study has as many
constexpr int mostFrames = 1'000'000;
constexpr double largestScale = 1e6;

constexpr std::array<std::string_view, 4> viewportNames{"axial", "coronal", "sagittal", "volume3d"};
constexpr std::array<std::string_view, 4> slabModeNames{"mip", "average", "minip", "sum"};
constexpr std::array<std::string_view, 3> shapeNames{"LINEAR", "LINEAR_EXACT", "SIGMOID"};
constexpr std::array<std::string_view, 11> toolNames{"window-level", "crosshair",     "pan",        "scroll",
                                                     "zoom",         "rotate",        "length",     "angle",
                                                     "probe",        "rectangle-roi", "ellipse-roi"};

template <class Value, std::size_t count>
std::optional<Value> valueNamed(const std::array<std::string_view, count>& names, std::string_view name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end())
        return std::nullopt;
    return static_cast<Value>(found - names.begin());
}

template <std::size_t count>
std::string_view nameOf(const std::array<std::string_view, count>& names, int value) {
    return names[static_cast<std::size_t>(std::clamp(value, 0, static_cast<int>(count) - 1))];
}

json framingsJson(const HangingProtocol& hanging) {
    json views = json::object();
    for (const auto& [viewport, framing] : hanging.framings)
        views[std::to_string(viewport)] = {{"scale", framing.scale}, {"center", framing.center}};
    return views;
}

json toJson(const HangingProtocol& hanging) {
    json object{
        {"layout", layoutName(hanging.layout)},
        {"primary", nameOf(viewportNames, hanging.primary)},
        {"slabEnabled", hanging.slabEnabled},
        {"slabHalfSlices", std::clamp(hanging.slabHalfSlices, 1, HangingProtocol::mostSlabHalfSlices)},
        {"slabMode", nameOf(slabModeNames, hanging.slabMode)},
        {"tool", toolName(hanging.tool)}};
    if (hanging.window) {
        object["windowWidth"] = hanging.window->width;
        object["windowLevel"] = hanging.window->level;
        object["windowFunction"] = nameOf(shapeNames, static_cast<int>(hanging.window->shape));
    }
    if (hanging.frame > 0)
        object["frame"] = hanging.frame;
    if (!hanging.framings.empty())
        object["views"] = framingsJson(hanging);
    return object;
}

std::optional<Window> windowFrom(const json& object) {
    const auto width = json_text::number(object, "windowWidth");
    const auto level = json_text::number(object, "windowLevel");
    if (!width || !level || !(*width > 0.0))
        return std::nullopt;
    return Window{
        *width, *level,
        valueNamed<Window::Shape>(shapeNames, json_text::text(object, "windowFunction"))
            .value_or(Window::Shape::Linear)};
}

std::map<int, HangingProtocol::Framing> framingsFrom(const json& object) {
    std::map<int, HangingProtocol::Framing> framings;
    const auto views = object.find("views");
    if (views == object.end() || !views->is_object())
        return framings;
    constexpr int mostViewports = 16;
    for (int viewport = 0; viewport < mostViewports; ++viewport) {
        const auto view = views->find(std::to_string(viewport));
        if (view == views->end() || !view->is_object())
            continue;
        const auto scale = json_text::number(*view, "scale");
        const auto center = vectorFromJson(view->value("center", json()));
        if (scale && center && *scale > 0.0 && *scale <= largestScale)
            framings[viewport] = {*scale, *center};
    }
    return framings;
}

HangingProtocol protocolFrom(const json& object) {
    HangingProtocol hanging;
    hanging.layout = layoutFromName(json_text::text(object, "layout")).value_or(hanging.layout);
    hanging.primary =
        valueNamed<int>(viewportNames, json_text::text(object, "primary")).value_or(hanging.primary);
    hanging.window = windowFrom(object);
    const auto slab = object.find("slabEnabled");
    hanging.slabEnabled = slab != object.end() && slab->is_boolean() && slab->get<bool>();
    if (const auto half = json_text::number(object, "slabHalfSlices"))
        hanging.slabHalfSlices =
            static_cast<int>(std::clamp(*half, 1.0, double{HangingProtocol::mostSlabHalfSlices}));
    hanging.slabMode =
        valueNamed<int>(slabModeNames, json_text::text(object, "slabMode")).value_or(hanging.slabMode);
    hanging.tool = toolFromName(json_text::text(object, "tool")).value_or(hanging.tool);
    hanging.frame = json_text::integer(object, "frame", 0, mostFrames).value_or(0);
    hanging.framings = framingsFrom(object);
    return hanging;
}

} // namespace

HangingProtocol StudyHanging::of(const std::string& key) const {
    auto found = series.find(key);
    if (found == series.end())
        found = series.find({});
    return found != series.end() ? found->second : HangingProtocol();
}

std::string_view toolName(Tool tool) {
    return toolNames[static_cast<std::size_t>(tool)];
}

std::optional<Tool> toolFromName(std::string_view name) {
    return valueNamed<Tool>(toolNames, name);
}

std::string hangingProtocolText(const StudyHanging& hanging) {
    json file = toJson(hanging.of(hanging.last));
    json series = json::object();
    for (const auto& [key, protocol] : hanging.series)
        series[key] = toJson(protocol);
    file["series"] = std::move(series);
    file["lastSeries"] = hanging.last;
    return json_text::write(file);
}

std::optional<StudyHanging> hangingProtocolFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_object())
        return std::nullopt;
    StudyHanging hanging;
    const auto series = file->find("series");
    if (series == file->end() || !series->is_object()) {
        hanging.series[{}] = protocolFrom(*file);
        return hanging;
    }
    for (const auto& [key, protocol] : series->items())
        if (protocol.is_object() && hanging.series.size() < mostSeries)
            hanging.series[key] = protocolFrom(protocol);
    hanging.last = json_text::text(*file, "lastSeries");
    return hanging;
}

} // namespace zorbel
