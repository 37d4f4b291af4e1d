#pragma once

#include "imaging/geometry/Vector3.h"
#include "viewer/reading/state/JsonText.h"

#include <cmath>
#include <optional>

namespace zorbel {

/// Three finite numbers; nothing for anything else, and for numbers far beyond any patient, whose squares
/// would overflow.
inline std::optional<imaging::Vector3> vectorFromJson(const nlohmann::json& value) {
    constexpr double largest = 1e9;
    imaging::Vector3 vector{};
    if (!value.is_array() || value.size() != vector.size())
        return std::nullopt;
    for (std::size_t index = 0; index < vector.size(); ++index) {
        if (!value[index].is_number())
            return std::nullopt;
        vector[index] = value[index].get<double>();
        if (!(std::abs(vector[index]) <= largest))
            return std::nullopt;
    }
    return vector;
}

} // namespace zorbel
