#include "viewer/reading/measurements/MeasurementEditor.h"

#include "viewer/reading/measurements/MeasurementHandles.h"
#include "viewer/reading/measurements/MeasurementShape.h"

#include <algorithm>
#include <cmath>

namespace zorbel {

using imaging::operator-;

namespace {

bool isFinite(const imaging::Vector3& point) {
    return std::all_of(point.begin(), point.end(), [](double value) { return std::isfinite(value); });
}

} // namespace

void MeasurementEditor::setKind(std::optional<MeasurementKind> kind) {
    if (kind_ != kind)
        reset();
    kind_ = kind;
}

MeasurementEditor::Hit MeasurementEditor::hitTest(const MeasurementView& view, const Point2& pointer) const {
    Hit handle;
    Hit body;
    double nearestHandle = handleRadius;
    double nearestBody = lineRadius;
    const auto offer = [&](const Measurement& measurement) {
        const MeasurementShape shape = MeasurementShape::of(measurement, view);
        if (const auto found = shape.handleAt(pointer, nearestHandle)) {
            nearestHandle = length(pointer - shape.handles[*found]);
            handle = {measurement.id, found};
        }
        if (const double distance = shape.distanceToBody(pointer); distance <= nearestBody) {
            nearestBody = distance;
            body = {measurement.id, std::nullopt};
        }
    };
    const Measurement* selected = nullptr;
    for (const Measurement* measurement : list_.shownOn(view.plane)) {
        if (measurement->id == list_.selected())
            selected = measurement;
        else
            offer(*measurement);
    }
    if (selected)
        offer(*selected);
    return handle.id ? handle : body;
}

MeasurementEditor::Outcome MeasurementEditor::press(const MeasurementView& view, const Point2& pointer) {
    if (!kind_)
        return {};
    drag_.reset(); // whose release never came
    const imaging::Vector3 point = view.fromWidget(pointer);
    if (!isFinite(point))
        return {};
    Outcome outcome{true, true, {}};
    if (draft_ && view.plane.isParallelTo(draft_->preview())) {
        buttonDown_ = true;
        draft_->moveTo(point);
        return outcome;
    }
    if (draft_)
        outcome = cancel(); // begun in another view, or the view was turned since

    hovered_ = {};
    if (const Hit hit = hitTest(view, pointer); hit.id) {
        const Measurement& held = *list_.find(hit.id);
        drag_ = Drag{held, held, hit.handle, pointer, point, false};
        list_.select(hit.id);
        return outcome;
    }
    list_.select(std::nullopt);
    draft_.emplace(view.plane, *kind_, point);
    if (*kind_ != MeasurementKind::Probe)
        draft_->place();
    buttonDown_ = true;
    return outcome;
}

bool MeasurementEditor::follow(const MeasurementView& view, const Point2& pointer) {
    const imaging::Vector3 point = view.fromWidget(pointer);
    if (!isFinite(point))
        return false;
    if (draft_) {
        if (!view.plane.isParallelTo(draft_->preview()))
            return false;
        draft_->moveTo(point);
        return true;
    }
    if (!drag_ || !view.plane.isParallelTo(drag_->before))
        return false;
    drag_->moved = drag_->moved || length(pointer - drag_->pressed) >= clickRadius;
    if (!drag_->moved)
        return false;
    const imaging::Vector3 way = point - drag_->grabbed;
    drag_->now = drag_->handle ? withHandleMoved(drag_->before, *drag_->handle, way)
                               : withAllMoved(drag_->before, way);
    return true;
}

MeasurementEditor::Outcome MeasurementEditor::move(const MeasurementView& view, const Point2& pointer) {
    if (!kind_)
        return {};
    if (draft_ || drag_)
        return {true, follow(view, pointer), {}};
    const Hit under = hitTest(view, pointer);
    const bool changed = under != hovered_;
    hovered_ = under;
    return {under.id != 0, changed, {}};
}

MeasurementEditor::Outcome MeasurementEditor::release(const MeasurementView& view, const Point2& pointer) {
    if (drag_) {
        follow(view, pointer);
        const Drag done = *drag_;
        drag_.reset();
        Outcome outcome{true, true, {}};
        if (done.moved && list_.replace(done.now))
            outcome.statuses.push_back(statusOf(done.now));
        return outcome;
    }
    if (!draft_ || !buttonDown_)
        return {};
    buttonDown_ = false;
    follow(view, pointer);
    if (draft_->placedPoints() > 0 && length(pointer - view.toWidget(draft_->lastPlaced())) < clickRadius)
        return {true, true, {}};
    return placePoint();
}

MeasurementEditor::Outcome MeasurementEditor::placePoint() {
    Outcome outcome{true, true, {}};
    if (draft_->place()) {
        const Measurement added = draft_->preview();
        draft_.reset();
        list_.add(added);
        outcome.statuses = {"Measurement added", statusOf(added)};
    }
    return outcome;
}

MeasurementEditor::Outcome MeasurementEditor::leave() {
    const bool changed = hovered_.id != 0;
    hovered_ = {};
    return {changed, changed, {}};
}

MeasurementEditor::Outcome MeasurementEditor::takeBackFirstPoint() {
    if (!draft_ || draft_->placedPoints() > 1)
        return {};
    draft_.reset();
    buttonDown_ = false;
    return {true, true, {}};
}

MeasurementEditor::Outcome MeasurementEditor::cancel() {
    if (draft_) {
        draft_.reset();
        buttonDown_ = false;
        return {true, true, {"Measurement cancelled"}};
    }
    if (drag_) {
        drag_.reset();
        return {true, true, {}};
    }
    if (list_.selected()) {
        list_.select(std::nullopt);
        return {true, true, {}};
    }
    return {};
}

MeasurementEditor::Outcome
MeasurementEditor::deleteMeasurement(const std::function<bool(const Measurement&)>& isShown) {
    if (draft_)
        return cancel();
    const auto target = list_.deletionTarget(isShown);
    if (!target)
        return {};
    drag_.reset();
    hovered_ = {};
    list_.remove(*target);
    return {true, true, {"Measurement deleted"}};
}

void MeasurementEditor::reset() {
    draft_.reset();
    drag_.reset();
    hovered_ = {};
    buttonDown_ = false;
}

const Measurement* MeasurementEditor::inHand() const {
    if (draft_)
        return &draft_->preview();
    return drag_ ? &drag_->now : nullptr;
}

std::string MeasurementEditor::statusOf(const Measurement& measurement) const {
    return "Measurement: " + (labelOf_ ? labelOf_(measurement) : std::string());
}

} // namespace zorbel
