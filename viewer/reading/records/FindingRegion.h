#pragma once

#include <string_view>

namespace zorbel {

/// Where something was found that belongs to no tooth; in the order in which it is offered. The patient's
/// right and left.
enum class FindingRegion {
    MaxillarySinusRight,
    MaxillarySinusLeft,
    MandibularCanalRight,
    MandibularCanalLeft,
    MentalForamenRight,
    MentalForamenLeft,
    JointRight,
    JointLeft,
    NasalCavity,
    Airway,
    AlveolarRidge,
    Other,
    None, ///< a tooth is the site; not offered
};

/// Those that are offered, None left out.
constexpr int findingRegionCount = 12;

/// In files: "maxillary-sinus-right"; "none".
std::string_view findingRegionKey(FindingRegion region);
/// "Right maxillary sinus"; empty for None.
std::string_view findingRegionLabel(FindingRegion region);
/// Other for an unknown key.
FindingRegion findingRegionFromKey(std::string_view key);

} // namespace zorbel
