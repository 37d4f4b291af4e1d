#include "imaging/dicom/DicomAttributes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace zorbel::imaging {

std::string trimmed(std::string_view text) {
    constexpr std::string_view padding(" \0\t\r\n", 5);
    const auto first = text.find_first_not_of(padding);
    if (first == std::string_view::npos)
        return {};
    return std::string(text.substr(first, text.find_last_not_of(padding) - first + 1));
}

std::optional<double> parseNumber(std::string_view value) {
    std::string text = trimmed(value);
    if (text.starts_with('+'))
        text.erase(0, 1);
    // Written by programs that print numbers as their country does; the standard knows no other comma.
    if (const auto comma = text.find(','); comma != std::string::npos && text.find('.') == std::string::npos)
        text[comma] = '.';
    double result = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(result))
        return std::nullopt;
    return result;
}

const DataElement* DicomAttributes::find(Tag tag) const {
    const auto found = dataSet_->find(tag);
    return found == dataSet_->end() ? nullptr : &found->second;
}

bool DicomAttributes::has(Tag tag) const {
    const DataElement* element = find(tag);
    return element && (!element->value.empty() || !element->items.empty());
}

std::string_view DicomAttributes::bytes(Tag tag) const {
    const DataElement* element = find(tag);
    return element ? std::string_view(element->value) : std::string_view();
}

std::string DicomAttributes::text(Tag tag) const {
    return trimmed(bytes(tag));
}

std::vector<std::string> DicomAttributes::texts(Tag tag) const {
    std::string_view rest = bytes(tag);
    std::vector<std::string> result;
    while (!rest.empty()) {
        const auto end = std::min(rest.find('\\'), rest.size());
        result.push_back(trimmed(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return result;
}

std::vector<double> DicomAttributes::numbers(Tag tag) const {
    std::vector<double> result;
    for (const std::string& value : texts(tag)) {
        const std::optional<double> number = parseNumber(value);
        if (!number)
            break;
        result.push_back(*number);
    }
    return result;
}

std::optional<double> DicomAttributes::number(Tag tag) const {
    const std::vector<double> all = numbers(tag);
    return all.empty() ? std::nullopt : std::optional(all.front());
}

std::vector<std::int32_t> DicomAttributes::shorts(Tag tag, bool asSigned) const {
    const std::string_view value = bytes(tag);
    std::vector<std::int32_t> result(value.size() / 2);
    for (std::size_t i = 0; i < result.size(); ++i) {
        std::uint16_t word = 0;
        std::memcpy(&word, value.data() + 2 * i, 2);
        result[i] = asSigned ? static_cast<std::int16_t>(word) : word;
    }
    return result;
}

std::optional<unsigned> DicomAttributes::unsignedShort(Tag tag) const {
    const std::vector<std::int32_t> all = shorts(tag);
    return all.empty() ? std::nullopt : std::optional(static_cast<unsigned>(all.front()));
}

bool DicomAttributes::isSignedShort(Tag tag, bool otherwise) const {
    const DataElement* element = find(tag);
    return element && (element->vr == "SS" || (element->vr != "US" && otherwise));
}

std::vector<DicomAttributes> DicomAttributes::items(Tag tag) const {
    std::vector<DicomAttributes> result;
    if (const DataElement* element = find(tag))
        for (const DataSet& item : element->items)
            result.emplace_back(item);
    return result;
}

} // namespace zorbel::imaging
