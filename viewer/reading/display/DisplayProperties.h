#pragma once

#include "imaging/VoiTransform.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/display/VolumeDisplay.h"

#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace zorbel {

/// What a viewport shows and how, under the names that rendering properties have in this field, for
/// diagnostics. Value type.
struct DisplayProperties {
    using Parts = std::map<std::string, double>;
    using Value = std::variant<bool, int, double, std::string, std::vector<double>, Parts>;

    std::string view; ///< "Axial", "3D", "2D"
    std::vector<std::pair<std::string, Value>> values;

    void add(std::string name, Value value) { values.emplace_back(std::move(name), std::move(value)); }

    /// `levelwindow`: its `level` and `width`.
    void addWindow(const imaging::LevelWindow& window);
    /// `reslice.thickslices`: 0 for a single slice, else the mode counted from 1 in the order of the list of
    /// modes; `.num`: the slices shown; `.showarea`: the slab's borders are drawn in the other planes.
    void addSlab(const SlabModel& slab, bool linesShown);
    /// `volumerendering` and what belongs to it.
    void addVolumeRendering(const VolumeDisplay& display);
};

} // namespace zorbel
