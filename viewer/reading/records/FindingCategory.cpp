#include "viewer/reading/records/FindingCategory.h"

#include <array>

namespace zorbel {

namespace {

struct Words {
    std::string_view key;
    std::string_view label;
};

constexpr std::array<Words, findingCategoryCount> words{{
    {"periapical-lesion", "Periapical lesion"},
    {"caries", "Caries"},
    {"bone-loss", "Bone loss"},
    {"impaction", "Impaction"},
    {"fracture", "Fracture"},
    {"resorption", "Resorption"},
    {"cyst", "Cyst"},
    {"retained-root", "Retained root"},
    {"implant-site", "Implant site assessment"},
    {"sinus-pathology", "Sinus pathology"},
    {"joint-change", "Joint change"},
    {"other", "Other"},
}};

} // namespace

std::string_view findingCategoryKey(FindingCategory category) {
    return words[static_cast<std::size_t>(category)].key;
}

std::string_view findingCategoryLabel(FindingCategory category) {
    return words[static_cast<std::size_t>(category)].label;
}

FindingCategory findingCategoryFromKey(std::string_view key) {
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (words[index].key == key)
            return static_cast<FindingCategory>(index);
    }
    return FindingCategory::Other;
}

} // namespace zorbel
