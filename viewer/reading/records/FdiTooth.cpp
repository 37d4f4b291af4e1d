#include "viewer/reading/records/FdiTooth.h"

#include <array>

namespace zorbel {

std::optional<FdiTooth> FdiTooth::fromCode(int code) {
    const FdiTooth tooth(code);
    if (code < 11 || code >= 86 || tooth.quadrant() > 8 || tooth.place() < 1 ||
        tooth.place() > (tooth.isPrimary() ? 5 : 8))
        return std::nullopt;
    return tooth;
}

std::string_view FdiTooth::quadrantName() const {
    static constexpr std::array<std::string_view, 4> names{
        "upper right", "upper left", "lower left", "lower right"};
    return names[static_cast<std::size_t>((quadrant() - 1) % 4)];
}

std::string FdiTooth::name() const {
    static constexpr std::array<std::string_view, 8> permanent{
        "central incisor", "lateral incisor", "canine",       "first premolar",
        "second premolar", "first molar",     "second molar", "third molar"};
    static constexpr std::array<std::string_view, 5> primary{
        "central incisor", "lateral incisor", "canine", "first molar", "second molar"};
    const auto index = static_cast<std::size_t>(place() - 1);
    return isPrimary() ? std::string(primary[index]) + " (primary)" : std::string(permanent[index]);
}

std::string FdiTooth::siteLabel() const {
    return "FDI " + std::to_string(code_) + " — " + std::string(quadrantName()) + " " + name();
}

} // namespace zorbel
