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
/// A value that holds no other one, as people read it: "yes", "—", 3.25.
std::string valueText(const DiagnosticsJson& value);
/// JSON with two blanks an indentation, whatever bytes its texts hold.
std::string jsonText(const DiagnosticsJson& json);

} // namespace zorbel
