#include "viewer/reading/records/FindingRegion.h"

#include <array>

namespace zorbel {

namespace {

struct Words {
    std::string_view key;
    std::string_view label;
};

constexpr std::array<Words, findingRegionCount + 1> words{{
    {"maxillary-sinus-right", "Right maxillary sinus"},
    {"maxillary-sinus-left", "Left maxillary sinus"},
    {"mandibular-canal-right", "Right mandibular canal"},
    {"mandibular-canal-left", "Left mandibular canal"},
    {"mental-foramen-right", "Right mental foramen"},
    {"mental-foramen-left", "Left mental foramen"},
    {"tmj-right", "Right temporomandibular joint"},
    {"tmj-left", "Left temporomandibular joint"},
    {"nasal-cavity", "Nasal cavity"},
    {"airway", "Airway"},
    {"alveolar-ridge", "Alveolar ridge"},
    {"other", "Other site"},
    {"none", ""},
}};

} // namespace

std::string_view findingRegionKey(FindingRegion region) {
    return words[static_cast<std::size_t>(region)].key;
}

std::string_view findingRegionLabel(FindingRegion region) {
    return words[static_cast<std::size_t>(region)].label;
}

FindingRegion findingRegionFromKey(std::string_view key) {
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index].key == key)
            return static_cast<FindingRegion>(index);
    }
    return FindingRegion::Other;
}

} // namespace zorbel
