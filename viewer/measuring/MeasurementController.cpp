#include "viewer/measuring/MeasurementController.h"

#include <QStringList>

#include <utility>

namespace zorbel {

MeasurementController::MeasurementController(QObject* parent) : QObject(parent) {
    setReading(nullptr);
}

void MeasurementController::setReading(std::shared_ptr<StudyReading> reading) {
    reading_ = std::move(reading);
    editor_.emplace(reading_ ? reading_->measurements() : none_);
    editor_->setKind(measurementKindOf(tool_));
    editor_->setLabelSource(
        [this](const Measurement& measurement) { return valuesOf(measurement).lineLabel(); });
    subscription_.reset();
    if (reading_)
        subscription_ = reading_->observe([this](StudyReading::Change change) {
            if (change == StudyReading::Change::Series)
                sampleShownSeries();
            else if (
                change == StudyReading::Change::Measurements ||
                change == StudyReading::Change::MeasurementsSelection) {
                if (change == StudyReading::Change::Measurements)
                    keepValues();
                Q_EMIT listChanged();
                Q_EMIT repaintNeeded();
            }
        });
    sampleShownSeries();
}

void MeasurementController::sampleShownSeries() {
    editor_->reset();
    const auto image = reading_ ? reading_->shown().image : nullptr;
    sampler_ = image ? std::make_unique<VoxelSampler>(image) : nullptr;
    keepValues();
    Q_EMIT listChanged(); // values depend on the image
    Q_EMIT repaintNeeded();
}

const MeasurementList& MeasurementController::list() const {
    return reading_ ? reading_->measurements() : none_;
}

void MeasurementController::setTool(Tool tool) {
    tool_ = tool;
    editor_->setKind(measurementKindOf(tool));
    Q_EMIT repaintNeeded();
}

void MeasurementController::setLabelsShown(bool shown) {
    labelsShown_ = shown;
    Q_EMIT repaintNeeded();
}

MeasurementValues MeasurementController::valuesOf(const Measurement& measurement) const {
    return MeasurementValues::of(measurement, sampler_.get());
}

bool MeasurementController::isOfShownSeries(const Measurement& measurement) const {
    return sampler_ && measurement.isOfSeries(sampler_->image().metadata().seriesInstanceUID) &&
           measurement.isOnImage() != reading_->shown().isVolume();
}

void MeasurementController::keepValues() {
    if (!sampler_)
        return;
    const std::string_view unit = valueUnit(sampler_->image().metadata());
    reading_->measurements().setValues([&](const Measurement& measurement) -> std::optional<std::string> {
        if (!isOfShownSeries(measurement))
            return std::nullopt;
        return valuesOf(measurement).reportLine(unit);
    });
}

QString MeasurementController::lineOf(const Measurement& measurement) const {
    return QString::fromStdString(
        isOfShownSeries(measurement) || measurement.value.empty() ? valuesOf(measurement).lineLabel()
                                                                  : measurement.value);
}

void MeasurementController::setLabel(int id, const QString& label) {
    constexpr int longest = 200; // characters: a name, not a finding
    if (reading_)
        reading_->measurements().setLabel(id, label.simplified().left(longest).toStdString());
}

bool MeasurementController::press(const MeasurementView& view, const Point2& pointer) {
    return apply(editor_->press(view, pointer));
}

bool MeasurementController::move(const MeasurementView& view, const Point2& pointer) {
    return apply(editor_->move(view, pointer));
}

bool MeasurementController::release(const MeasurementView& view, const Point2& pointer) {
    return apply(editor_->release(view, pointer));
}

void MeasurementController::leave() {
    apply(editor_->leave());
}

bool MeasurementController::doubleClick() {
    return !apply(editor_->takeBackFirstPoint()) && editor_->isPlacing();
}

void MeasurementController::cancel() {
    apply(editor_->cancel());
}

void MeasurementController::deleteMeasurement(const std::function<bool(const Measurement&)>& isShown) {
    apply(editor_->deleteMeasurement(isShown));
}

void MeasurementController::remove(int id) {
    if (reading_ && reading_->measurements().remove(id))
        Q_EMIT statusText(QStringLiteral("Measurement deleted"));
}

void MeasurementController::select(int id) {
    if (reading_)
        reading_->measurements().select(id);
}

bool MeasurementController::apply(const MeasurementEditor::Outcome& outcome) {
    QStringList statuses;
    for (const std::string& status : outcome.statuses)
        statuses += QString::fromStdString(status);
    if (!statuses.isEmpty())
        Q_EMIT statusText(
            statuses.join(QStringLiteral("  |  "))); // one after the other nobody would see the first
    if (outcome.repaint)
        Q_EMIT repaintNeeded();
    return outcome.taken;
}

} // namespace zorbel
