#include "diagnostics/DiagnosticsReport.h"

#include <cstddef>

namespace zorbel {

namespace {

bool isFlat(const DiagnosticsJson& value) {
    if (!value.is_structured())
        return true;
    if (value.is_object())
        return value.empty();
    for (const auto& item : value)
        if (item.is_structured())
            return false;
    return true;
}

void appendValues(std::string& text, const DiagnosticsJson& values, std::size_t depth) {
    const std::string indent(2 * depth, ' ');
    for (const auto& [key, value] : values.items()) {
        const std::string name = values.is_array() ? "- " : key + ": ";
        if (isFlat(value)) {
            text += indent + name + valueText(value) + '\n';
        } else {
            text += indent + (values.is_array() ? "-" : key + ":") + '\n';
            appendValues(text, value, depth + 1);
        }
    }
}

} // namespace

DiagnosticsJson reportJson(const DiagnosticsReport& report) {
    auto json = DiagnosticsJson::object();
    for (const DiagnosticsSection& section : report)
        json[section.id] = section.values;
    return json;
}

std::string valueText(const DiagnosticsJson& value) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_null() || (value.is_structured() && value.empty()))
        return "—";
    if (!value.is_array())
        return value.dump(-1, ' ', false, DiagnosticsJson::error_handler_t::replace);
    std::string text;
    for (const auto& item : value)
        text += (text.empty() ? "" : ", ") + valueText(item);
    return text;
}

std::string reportText(const DiagnosticsReport& report) {
    std::string text;
    for (const DiagnosticsSection& section : report) {
        text += (text.empty() ? "" : "\n") + section.title + '\n';
        appendValues(text, section.values, 1);
    }
    return text;
}

std::string jsonText(const DiagnosticsJson& json) {
    return json.dump(2, ' ', false, DiagnosticsJson::error_handler_t::replace) + '\n';
}

} // namespace zorbel
