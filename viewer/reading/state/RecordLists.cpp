#include "viewer/reading/state/RecordLists.h"

#include "viewer/reading/state/JsonText.h"

#include <cmath>

namespace zorbel {

namespace {

using nlohmann::json;

std::optional<imaging::Vector3> locationFrom(const json& record) {
    const auto location = record.find("location");
    if (location == record.end() || !location->is_object())
        return std::nullopt;
    const auto x = json_text::number(*location, "x");
    const auto y = json_text::number(*location, "y");
    const auto z = json_text::number(*location, "z");
    if (!x || !y || !z)
        return std::nullopt;
    return imaging::Vector3{*x, *y, *z};
}

Finding findingFrom(const json& record) {
    const auto category = findingCategoryFromKey(json_text::text(record, "category"));
    const auto code = json_text::integer(record, "toothFdi", 0, 99);
    const auto tooth = FdiTooth::fromCode(code.value_or(0));
    Finding finding = tooth ? Finding(category, *tooth)
                            : Finding(category, findingRegionFromKey(json_text::text(record, "region")));
    finding.note = json_text::text(record, "note");
    finding.location = locationFrom(record);
    return finding;
}

bool isFinite(const imaging::Vector3& point) {
    return std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
}

} // namespace

std::string findingsText(const FindingList& findings) {
    json records = json::array();
    for (const Finding& finding : findings.findings()) {
        json record{
            {"category", findingCategoryKey(finding.category())},
            {"toothFdi", finding.tooth() ? finding.tooth()->code() : 0},
            {"region", findingRegionKey(finding.region())},
            {"note", finding.note}};
        if (finding.location && isFinite(*finding.location)) {
            const auto& [x, y, z] = *finding.location;
            record["location"] = {{"x", x}, {"y", y}, {"z", z}};
        }
        records.push_back(std::move(record));
    }
    return json_text::write({{"findings", std::move(records)}});
}

std::optional<FindingList> findingsFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    const json* records = file ? json_text::array(*file, "findings") : nullptr;
    if (records == nullptr)
        return std::nullopt;
    FindingList findings;
    for (const json& record : *records) {
        if (record.is_object())
            findings.add(findingFrom(record));
    }
    return findings;
}

std::string keyImagesText(const KeyImageList& images) {
    json records = json::array();
    for (const KeyImage& image : images.images()) {
        records.push_back(
            {{"fileName", image.fileName},
             {"caption", image.caption},
             {"width", image.width},
             {"height", image.height},
             {"inReport", image.inReport}});
    }
    json file{{"keyImages", std::move(records)}};
    if (images.removedUpTo() > 0)
        file["removedUpTo"] = images.removedUpTo();
    return json_text::write(file);
}

std::optional<KeyImageList> keyImagesFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    const json* records = file ? json_text::array(*file, "keyImages") : nullptr;
    if (records == nullptr)
        return std::nullopt;
    KeyImageList images(
        {}, json_text::integer(*file, "removedUpTo", 0, KeyImageList::highestRemembered).value_or(0));
    for (const json& record : *records) {
        if (!record.is_object())
            continue;
        const auto width = json_text::integer(record, "width", 1, longestKeyImageSide);
        const auto height = json_text::integer(record, "height", 1, longestKeyImageSide);
        KeyImage image{
            json_text::text(record, "fileName"), json_text::text(record, "caption"), width.value_or(0),
            height.value_or(0), json_text::flag(record, "inReport", true)};
        if (width && height && keyImageNumber(image.fileName) && !images.holds(image.fileName))
            images.add(std::move(image));
    }
    return images;
}

std::optional<std::string> measurementsText(std::string_view array) {
    auto records = json_text::parse(array);
    if (!records || !records->is_array())
        return std::nullopt;
    return json_text::write({{"annotations", std::move(*records)}});
}

std::optional<std::string> measurementsFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    const json* records = file ? json_text::array(*file, "annotations") : nullptr;
    if (records == nullptr)
        return std::nullopt;
    return records->dump();
}

} // namespace zorbel
