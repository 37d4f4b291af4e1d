#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zorbel {

/// Keeps its keys in the order in which they were told.
using DiagnosticsJson = nlohmann::ordered_json;

/// What one part of the program tells about itself: a JSON object.
struct DiagnosticsSection {
    std::string id;
    std::string title;
    DiagnosticsJson values;
};

using DiagnosticsReport = std::vector<DiagnosticsSection>;

/// {"section": {…}, …}.
DiagnosticsJson reportJson(const DiagnosticsReport& report);
/// For people: a title and lines of "name: value" for each section, nested values indented.
std::string reportText(const DiagnosticsReport& report);
/// A key as people read it: "machine available MiB"; names of properties and products stay as they are.
std::string labelText(const std::string& key);
/// A value that holds no other one, as people read it: "yes", "—", 3.25, and of a key that tells bytes 46.9
/// MiB.
std::string valueText(const DiagnosticsJson& value, const std::string& key = {});
/// JSON with two blanks an indentation, whatever bytes its texts hold.
std::string jsonText(const DiagnosticsJson& json);

} // namespace zorbel
