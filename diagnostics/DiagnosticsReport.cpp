#include "diagnostics/DiagnosticsReport.h"

#include <QLocale>

#include <cctype>
#include <cstddef>
#include <cstdio>

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
        const std::string name = values.is_array() ? "- " : labelText(key) + ": ";
        if (isFlat(value)) {
            text += indent + name + valueText(value, key) + '\n';
        } else {
            text += indent + (values.is_array() ? "-" : labelText(key) + ":") + '\n';
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

std::string labelText(const std::string& key) {
    const auto is = [&key](std::size_t at, int (*kind)(int)) {
        return at < key.size() && kind(static_cast<unsigned char>(key[at])) != 0;
    };
    if (!is(0, std::islower) || key.find_first_of("./ ") != std::string::npos)
        return key;
    std::string label;
    for (std::size_t at = 0; at < key.size(); ++at) {
        const bool word = is(at, std::isupper) && is(at + 1, std::islower); // "Texture" of "max3DTexture"
        const bool begins = at > 0 && (word || (is(at - 1, std::islower) && !is(at, std::islower)));
        if (begins && key.compare(at, 1, "B") == 0 && label.ends_with("Mi")) {
            label += 'B';
            continue;
        }
        if (begins)
            label += ' ';
        const bool unit = key.compare(at, 3, "MiB") == 0;
        label += word && begins && !unit ? static_cast<char>(std::tolower(key[at])) : key[at];
    }
    return label;
}

std::string valueText(const DiagnosticsJson& value, const std::string& key) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_null() || (value.is_structured() && value.empty()))
        return "—";
    if (value.is_number_unsigned() && (key == "bytes" || key.ends_with("Bytes")))
        return QLocale::c().formattedDataSize(value.get<qint64>()).toStdString();
    if (value.is_number_float()) {
        char text[32];
        std::snprintf(text, sizeof text, "%.6g", value.get<double>());
        return text;
    }
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
