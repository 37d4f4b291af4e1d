#include "viewer/reading/state/HangingProtocol.h"

#include "viewer/reading/state/JsonText.h"

#include <algorithm>
#include <array>

namespace zorbel {

namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 4> viewportNames{"axial", "coronal", "sagittal", "volume3d"};
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

} // namespace

std::string_view toolName(Tool tool) {
    return toolNames[static_cast<std::size_t>(tool)];
}

std::optional<Tool> toolFromName(std::string_view name) {
    return valueNamed<Tool>(toolNames, name);
}

std::string hangingProtocolText(const HangingProtocol& hanging) {
    json file{
        {"layout", layoutName(hanging.layout)},
        {"primary", viewportNames[static_cast<std::size_t>(hanging.primary)]},
        {"slabEnabled", hanging.slabEnabled},
        {"slabHalfSlices", std::clamp(hanging.slabHalfSlices, 1, HangingProtocol::mostSlabHalfSlices)},
        {"tool", toolName(hanging.tool)}};
    if (hanging.window) {
        file["windowWidth"] = hanging.window->width;
        file["windowLevel"] = hanging.window->level;
    }
    return json_text::write(file);
}

std::optional<HangingProtocol> hangingProtocolFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_object())
        return std::nullopt;
    HangingProtocol hanging;
    hanging.layout = layoutFromName(json_text::text(*file, "layout")).value_or(hanging.layout);
    hanging.primary =
        valueNamed<Viewport>(viewportNames, json_text::text(*file, "primary")).value_or(hanging.primary);
    const auto width = json_text::number(*file, "windowWidth");
    const auto level = json_text::number(*file, "windowLevel");
    if (width && level && *width > 0.0)
        hanging.window = HangingProtocol::Window{*width, *level};
    const auto slab = file->find("slabEnabled");
    hanging.slabEnabled = slab != file->end() && slab->is_boolean() && slab->get<bool>();
    if (const auto half = json_text::number(*file, "slabHalfSlices"))
        hanging.slabHalfSlices =
            static_cast<int>(std::clamp(*half, 1.0, double{HangingProtocol::mostSlabHalfSlices}));
    hanging.tool = toolFromName(json_text::text(*file, "tool")).value_or(hanging.tool);
    return hanging;
}

} // namespace zorbel
