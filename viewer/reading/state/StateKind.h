#pragma once

#include <string_view>

namespace zorbel {

/// What is kept of a study, each kind in a file of its own.
enum class StateKind { ReadingPosition, HangingProtocol, Findings, Measurements, KeyImages };

constexpr int stateKindCount = 5;

/// The kind's folder: "reading", "hanging", "findings", "measurements", "keyimages".
constexpr std::string_view stateFolder(StateKind kind) {
    constexpr std::string_view names[] = {"reading", "hanging", "findings", "measurements", "keyimages"};
    return names[static_cast<int>(kind)];
}

/// What the status bar says when it could not be written.
constexpr std::string_view saveFailedText(StateKind kind) {
    constexpr std::string_view texts[] = {
        "Could not save the reading position", "Could not save the hanging protocol",
        "Could not save findings", "Could not save measurements", "Could not save key images"};
    return texts[static_cast<int>(kind)];
}

} // namespace zorbel
