#pragma once

#include "imaging/geometry/Vector3.h"
#include "viewer/reading/records/FdiTooth.h"
#include "viewer/reading/records/FindingCategory.h"
#include "viewer/reading/records/FindingRegion.h"

#include <optional>
#include <string>

namespace zorbel {

/// One line of the report: what was found, where, and what the reader says about it. Its site is a tooth, and
/// the region is then None, or one of the other regions. Value type; any thread.
class Finding {
public:
    Finding(FindingCategory category, FdiTooth tooth) : category_(category), tooth_(tooth) {}
    /// None becomes Other, for a finding has a site.
    Finding(FindingCategory category, FindingRegion region)
        : category_(category), region_(region == FindingRegion::None ? FindingRegion::Other : region) {}

    FindingCategory category() const { return category_; }
    const std::optional<FdiTooth>& tooth() const { return tooth_; }
    FindingRegion region() const { return region_; }
    /// "FDI 48 — lower right third molar", or the region's label.
    std::string siteLabel() const {
        return tooth_ ? tooth_->siteLabel() : std::string(findingRegionLabel(region_));
    }
    /// "Periapical lesion".
    std::string_view categoryLabel() const { return findingCategoryLabel(category_); }

    std::string note; ///< UTF-8, may be empty
    /// The crosshair when the finding was recorded, LPS millimetres; nothing on an image without one.
    std::optional<imaging::Vector3> location;

    friend bool operator==(const Finding&, const Finding&) = default;

private:
    FindingCategory category_;
    std::optional<FdiTooth> tooth_;
    FindingRegion region_ = FindingRegion::None;
};

} // namespace zorbel
