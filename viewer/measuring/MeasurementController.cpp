#include "viewer/measuring/MeasurementController.h"

#include <utility>

namespace zorbel {

MeasurementController::MeasurementController(QObject* parent) : QObject(parent), editor_(list_) {
    editor_.setLabelSource(
        [this](const Measurement& measurement) { return valuesOf(measurement).lineLabel(); });
    list_.setChangeCallback([this](MeasurementList::Change change) {
        if (change == MeasurementList::Change::Records)
            Q_EMIT recordsChanged();
        Q_EMIT listChanged();
        Q_EMIT repaintNeeded();
    });
}

void MeasurementController::setImage(const std::shared_ptr<const imaging::Image>& image) {
    editor_.reset();
    sampler_ = image ? std::make_unique<VoxelSampler>(image) : nullptr;
    Q_EMIT listChanged(); // values depend on the image
    Q_EMIT repaintNeeded();
}

void MeasurementController::assign(std::vector<Measurement> measurements) {
    editor_.reset();
    list_.assign(std::move(measurements));
}

void MeasurementController::clear() {
    editor_.reset();
    list_.clear();
    sampler_.reset();
}

void MeasurementController::setTool(Tool tool) {
    editor_.setKind(measurementKindOf(tool));
    Q_EMIT repaintNeeded();
}

MeasurementValues MeasurementController::valuesOf(const Measurement& measurement) const {
    return MeasurementValues::of(measurement, sampler_.get());
}

bool MeasurementController::press(const MeasurementView& view, const Point2& pointer) {
    return apply(editor_.press(view, pointer));
}

bool MeasurementController::move(const MeasurementView& view, const Point2& pointer) {
    return apply(editor_.move(view, pointer));
}

bool MeasurementController::release(const MeasurementView& view, const Point2& pointer) {
    return apply(editor_.release(view, pointer));
}

void MeasurementController::leave() {
    apply(editor_.leave());
}

void MeasurementController::cancel() {
    apply(editor_.cancel());
}

void MeasurementController::deleteMeasurement(const std::function<bool(const Measurement&)>& isShown) {
    apply(editor_.deleteMeasurement(isShown));
}

void MeasurementController::remove(int id) {
    if (list_.remove(id))
        Q_EMIT statusText(QStringLiteral("Measurement deleted"));
}

void MeasurementController::select(int id) {
    list_.select(id);
}

bool MeasurementController::apply(const MeasurementEditor::Outcome& outcome) {
    for (const std::string& status : outcome.statuses)
        Q_EMIT statusText(QString::fromStdString(status));
    if (outcome.repaint)
        Q_EMIT repaintNeeded();
    return outcome.taken;
}

} // namespace zorbel
