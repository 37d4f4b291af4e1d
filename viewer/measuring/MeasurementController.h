#pragma once

#include "imaging/Image.h"
#include "viewer/reading/base/Tool.h"
#include "viewer/reading/measurements/MeasurementEditor.h"
#include "viewer/reading/measurements/MeasurementList.h"
#include "viewer/reading/measurements/MeasurementValues.h"
#include "viewer/reading/measurements/VoxelSampler.h"

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

namespace zorbel {

/// The open study's measurements: what the mouse does to them in any view, their values, and who is told of
/// changes. User-interface thread.
class MeasurementController : public QObject {
    Q_OBJECT

public:
    explicit MeasurementController(QObject* parent = nullptr);

    /// The image that is shown now, for values and for what new measurements belong to; null without one. The
    /// list stays: it is the study's.
    void setImage(const std::shared_ptr<const imaging::Image>& image);
    /// Another study's measurements.
    void assign(std::vector<Measurement> measurements);
    void clear();
    /// A tool that does not measure ends what is being placed.
    void setTool(Tool tool);
    /// Hidden ones cannot be taken hold of.
    void setShown(bool shown) { editor_.setMeasurementsVisible(shown); }
    bool isMeasuring() const { return editor_.kind().has_value(); }

    const MeasurementList& list() const { return list_; }
    const MeasurementEditor& editor() const { return editor_; }
    MeasurementValues valuesOf(const Measurement& measurement) const;

    /// Mouse events of a view; true where the event was used.
    bool press(const MeasurementView& view, const Point2& pointer);
    bool move(const MeasurementView& view, const Point2& pointer);
    bool release(const MeasurementView& view, const Point2& pointer);
    void leave();
    /// Escape.
    void cancel();
    /// Delete; isShown: of what the reader sees now.
    void deleteMeasurement(const std::function<bool(const Measurement&)>& isShown);
    void remove(int id);
    void select(int id);

Q_SIGNALS:
    void statusText(const QString& text);
    /// What views show has changed.
    void repaintNeeded();
    /// The records changed, and are to be saved.
    void recordsChanged();
    /// Records, selection or the whole list.
    void listChanged();

private:
    bool apply(const MeasurementEditor::Outcome& outcome);

    MeasurementList list_;
    MeasurementEditor editor_;
    std::unique_ptr<VoxelSampler> sampler_;
};

} // namespace zorbel
