#include "viewer/reading/measurements/MeasurementList.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

namespace {

bool isFinite(const imaging::Vector3& vector) {
    return std::all_of(vector.begin(), vector.end(), [](double value) { return std::isfinite(value); });
}

bool isUsable(const Measurement& measurement) {
    return measurement.isComplete() &&
           std::all_of(measurement.points.begin(), measurement.points.end(), isFinite) &&
           isFinite(measurement.planeAxisX) && isFinite(measurement.planeAxisY) &&
           std::isfinite(measurement.calibrationFactor) && measurement.calibrationFactor > 0.0;
}

} // namespace

const Measurement* MeasurementList::find(int id) const {
    const auto found = std::find_if(
        measurements_.begin(), measurements_.end(), [id](const Measurement& m) { return m.id == id; });
    return found != measurements_.end() ? &*found : nullptr;
}

std::vector<Measurement>::iterator MeasurementList::position(int id) {
    return std::find_if(
        measurements_.begin(), measurements_.end(), [id](const Measurement& m) { return m.id == id; });
}

int MeasurementList::add(Measurement measurement) {
    const int id = measurement.id = ++lastId_;
    measurements_.push_back(std::move(measurement));
    tell(Change::Records);
    return id;
}

bool MeasurementList::replace(const Measurement& measurement) {
    const auto found = position(measurement.id);
    if (found == measurements_.end())
        return false;
    if (*found != measurement) {
        *found = measurement;
        tell(Change::Records);
    }
    return true;
}

bool MeasurementList::setLabel(int id, const std::string& label) {
    const Measurement* known = find(id);
    if (!known)
        return false;
    Measurement labelled = *known;
    labelled.label = label;
    return replace(labelled);
}

void MeasurementList::setValues(
    const std::function<std::optional<std::string>(const Measurement&)>& valueOf) {
    bool changed = false;
    for (Measurement& measurement : measurements_) {
        const auto value = valueOf(measurement);
        if (!value || *value == measurement.value)
            continue;
        measurement.value = *value;
        changed = true;
    }
    if (changed)
        tell(Change::Records);
}

bool MeasurementList::remove(int id) {
    const auto found = position(id);
    if (found == measurements_.end())
        return false;
    measurements_.erase(found);
    if (selected_ == id)
        selected_.reset();
    tell(Change::Records);
    return true;
}

int MeasurementList::assign(std::vector<Measurement> measurements) {
    const auto given = measurements.size();
    std::erase_if(measurements, [](const Measurement& m) { return !isUsable(m); });
    measurements_ = std::move(measurements);
    for (Measurement& measurement : measurements_) {
        measurement.id = ++lastId_;
        measurement.points.resize(measurementPointCount(measurement.kind));
    }
    selected_.reset();
    tell(Change::Selection);
    return static_cast<int>(given - measurements_.size());
}

void MeasurementList::select(std::optional<int> id) {
    if (id && !find(*id))
        id.reset();
    if (selected_ == id)
        return;
    selected_ = id;
    tell(Change::Selection);
}

std::optional<int>
MeasurementList::deletionTarget(const std::function<bool(const Measurement&)>& isShown) const {
    if (selected_)
        return selected_;
    const auto last = std::find_if(measurements_.rbegin(), measurements_.rend(), [&](const Measurement& m) {
        return !isShown || isShown(m);
    });
    return last != measurements_.rend() ? std::optional(last->id) : std::nullopt;
}

std::vector<const Measurement*> MeasurementList::shownOn(const MeasurementPlane& plane) const {
    std::vector<const Measurement*> shown;
    for (const Measurement& measurement : measurements_)
        if (plane.shows(measurement))
            shown.push_back(&measurement);
    return shown;
}

} // namespace zorbel
