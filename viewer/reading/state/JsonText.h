#pragma once

#include <nlohmann/json.hpp>

#include <cmath>
#include <optional>
#include <string>
#include <string_view>

// For the formats of the reading state alone: JSON that may have been tampered with.

namespace zorbel::json_text {

/// Nothing for what is no JSON, or is nested deeper than anything that is written here: copying and writing a
/// value calls itself once a level.
inline std::optional<nlohmann::json> parse(std::string_view text) {
    constexpr int deepest = 32;
    try {
        return nlohmann::json::parse(
            text.begin(), text.end(), [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
                if (depth > deepest)
                    throw std::length_error("The JSON is nested too deeply");
                return true;
            });
    } catch (const nlohmann::json::exception&) {
    } catch (const std::length_error&) {
    }
    return std::nullopt;
}

/// Bytes that are no UTF-8 become replacement characters, for a text must not make a save fail.
inline std::string write(const nlohmann::json& value) {
    return value.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

/// Empty where there is no such text.
inline std::string text(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

/// Nothing where there is no such number, or it is not finite.
inline std::optional<double> number(const nlohmann::json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number())
        return std::nullopt;
    const auto value = found->get<double>();
    return std::isfinite(value) ? std::optional(value) : std::nullopt;
}

inline bool flag(const nlohmann::json& object, const char* key, bool otherwise) {
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() ? found->get<bool>() : otherwise;
}

/// Nothing where there is no such whole number within the limits.
inline std::optional<int> integer(const nlohmann::json& object, const char* key, int lowest, int highest) {
    const auto value = number(object, key);
    if (!value || !object.find(key)->is_number_integer() || *value < lowest || *value > highest)
        return std::nullopt;
    return static_cast<int>(*value);
}

/// The array under a key of an object; null for anything else.
inline const nlohmann::json* array(const nlohmann::json& object, const char* key) {
    if (!object.is_object())
        return nullptr;
    const auto found = object.find(key);
    return found != object.end() && found->is_array() ? &*found : nullptr;
}

} // namespace zorbel::json_text
