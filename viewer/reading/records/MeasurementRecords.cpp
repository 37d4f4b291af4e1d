#include "viewer/reading/records/MeasurementRecords.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <optional>

namespace zorbel {

namespace {

using imaging::Vector3;
using nlohmann::json;

/// Null for a member that is not there.
const json* member(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() ? &*found : nullptr;
}

std::optional<double> numberFrom(const json* value) {
    if (!value || !value->is_number())
        return std::nullopt;
    const double number = value->get<double>();
    return std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<Vector3> vectorFrom(const json* value) {
    if (!value || !value->is_array() || value->size() != 3)
        return std::nullopt;
    Vector3 vector{};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto number = numberFrom(&(*value)[i]);
        if (!number)
            return std::nullopt;
        vector[i] = *number;
    }
    return vector;
}

std::optional<std::string> textFrom(const json* value) {
    return value && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

/// Of an image; false where it cannot be understood, for without it the points mean nothing.
bool readCalibration(const json& record, Measurement& measurement) {
    if (const json* name = member(record, "calibration")) {
        const auto calibration = calibrationOf(textFrom(name).value_or(""));
        if (!calibration)
            return false;
        measurement.calibration = *calibration;
    }
    if (const json* value = member(record, "calibrationFactor")) {
        const auto factor = numberFrom(value);
        if (!factor || !(*factor > 0.0))
            return false;
        measurement.calibrationFactor = *factor;
    }
    if (const json* value = member(record, "slice")) {
        const auto slice = numberFrom(value);
        if (!slice || *slice < 0.0 || *slice > std::numeric_limits<int>::max() ||
            *slice != std::floor(*slice))
            return false;
        measurement.slice = static_cast<int>(*slice);
    }
    if (const json* value = member(record, "seriesInstanceUid")) {
        const auto series = textFrom(value);
        if (!series)
            return false;
        measurement.seriesInstanceUid = *series;
    }
    if (!measurement.isOnImage()) {
        measurement.calibrationFactor = 1.0;
        measurement.slice = 0;
    }
    return true;
}

std::optional<Measurement> measurementFrom(const json& record) {
    if (!record.is_object())
        return std::nullopt;
    const auto kind = measurementKindOf(textFrom(member(record, "tool")).value_or(""));
    const json* points = member(record, "points");
    const auto axisX = vectorFrom(member(record, "planeAxisX"));
    const auto axisY = vectorFrom(member(record, "planeAxisY"));
    if (!kind || !points || !points->is_array() || points->size() < measurementPointCount(*kind) || !axisX ||
        !axisY)
        return std::nullopt;

    Measurement measurement;
    measurement.kind = *kind;
    measurement.planeAxisX = *axisX;
    measurement.planeAxisY = *axisY;
    for (std::size_t i = 0; i < measurementPointCount(*kind); ++i) {
        const auto point = vectorFrom(&(*points)[i]);
        if (!point)
            return std::nullopt;
        measurement.points.push_back(*point);
    }
    measurement.label = textFrom(member(record, "label")).value_or("");
    measurement.value = textFrom(member(record, "value")).value_or("");
    return readCalibration(record, measurement) ? std::optional(measurement) : std::nullopt;
}

} // namespace

MeasurementRecords MeasurementRecords::fromJson(std::string_view text) {
    MeasurementRecords records;
    const json array = json::parse(text, nullptr, false);
    if (!array.is_array()) {
        records.unreadable = 1;
        return records;
    }
    for (const json& record : array) {
        if (auto measurement = measurementFrom(record))
            records.measurements.push_back(std::move(*measurement));
        else
            ++records.unreadable;
    }
    return records;
}

std::string MeasurementRecords::toJson(const std::vector<Measurement>& measurements) {
    json array = json::array();
    for (const Measurement& measurement : measurements) {
        json record{
            {"tool", std::string(measurementToolName(measurement.kind))},
            {"points", measurement.points},
            {"planeAxisX", measurement.planeAxisX},
            {"planeAxisY", measurement.planeAxisY}};
        if (measurement.isOnImage()) {
            record["calibration"] = std::string(calibrationName(measurement.calibration));
            record["calibrationFactor"] = measurement.calibrationFactor;
            record["slice"] = measurement.slice;
        }
        if (!measurement.seriesInstanceUid.empty())
            record["seriesInstanceUid"] = measurement.seriesInstanceUid;
        if (!measurement.label.empty())
            record["label"] = measurement.label;
        if (!measurement.value.empty())
            record["value"] = measurement.value;
        array.push_back(std::move(record));
    }
    // A UID from a broken file may be no UTF-8; the measurements are worth more than its letters.
    return array.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace zorbel
