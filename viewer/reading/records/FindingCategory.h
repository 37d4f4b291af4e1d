#pragma once

#include <string_view>

namespace zorbel {

/// What was found; in the order in which it is offered.
enum class FindingCategory {
    PeriapicalLesion,
    Caries,
    BoneLoss,
    Impaction,
    Fracture,
    Resorption,
    Cyst,
    RetainedRoot,
    ImplantSite,
    SinusPathology,
    JointChange,
    Other,
};

constexpr int findingCategoryCount = 12;

/// In files: "periapical-lesion".
std::string_view findingCategoryKey(FindingCategory category);
/// "Periapical lesion".
std::string_view findingCategoryLabel(FindingCategory category);
/// Other for an unknown key.
FindingCategory findingCategoryFromKey(std::string_view key);

} // namespace zorbel
