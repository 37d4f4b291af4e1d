#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zorbel::imaging {

/// DICOM PS3.3 C.11.2.1.2 and C.11.2.1.3: how a value of interest function names its shape.
enum class VoiFunction { Linear, LinearExact, Sigmoid };

/// One window of a file: center and width in the units after the modality rescale.
struct LevelWindow {
    double center = 0.0;
    double width = 1.0;
    VoiFunction function = VoiFunction::Linear;
    std::string explanation;

    friend bool operator==(const LevelWindow&, const LevelWindow&) = default;
};

/// A VOI LUT sequence item (PS3.3 C.11.2.1.1): maps values after the modality rescale, first-mapped value
/// upwards, to table entries of `bits` bits; values below and above take the first and last entry.
struct VoiTable {
    double firstMapped = 0.0;
    unsigned bits = 8;
    std::vector<std::uint16_t> entries;
    std::string explanation;
};

/// Grey of a value under a window, 0 (black) to 1 (white), before any inversion for MONOCHROME1. PS3.3
/// C.11.2.1.2.1 (LINEAR, with its half-unit offsets), C.11.2.1.3.2 (LINEAR_EXACT), C.11.2.1.3.1 (SIGMOID).
double applyWindow(const LevelWindow& window, double value);

/// Grey of a value under a table, 0 to 1.
double applyTable(const VoiTable& table, double value);

} // namespace zorbel::imaging
