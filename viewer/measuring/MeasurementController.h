#pragma once

#include "viewer/reading/base/Tool.h"
#include "viewer/reading/measurements/MeasurementEditor.h"
#include "viewer/reading/measurements/MeasurementValues.h"
#include "viewer/reading/measurements/VoxelSampler.h"
#include "viewer/reading/study/StudyReading.h"

#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace zorbel {

/// What is done with the measurements of the open study's reading, in whatever view: what the mouse does to
/// them, their values, and who is told of changes. User-interface thread.
class MeasurementController : public QObject {
    Q_OBJECT

public:
    explicit MeasurementController(QObject* parent = nullptr);

    /// Null while no study is open. Values are those of the series that the reading shows.
    void setReading(std::shared_ptr<StudyReading> reading);
    /// A tool that does not measure ends what is being placed.
    void setTool(Tool tool);
    /// The measurements are seen in any case: it is their labels that go, but for what is in hand.
    void setLabelsShown(bool shown);
    bool areLabelsShown() const { return labelsShown_; }

    const MeasurementList& list() const;
    const MeasurementEditor& editor() const { return *editor_; }
    MeasurementValues valuesOf(const Measurement& measurement) const;
    /// Its value on one line; of one that was drawn on another series than the shown one, as last read there.
    QString lineOf(const Measurement& measurement) const;

    /// Mouse events of a view; true where the event was used.
    bool press(const MeasurementView& view, const Point2& pointer);
    bool move(const MeasurementView& view, const Point2& pointer);
    bool release(const MeasurementView& view, const Point2& pointer);
    void leave();
    /// The second click of a double-click; true where it belongs to the measurement being placed. One that
    /// the first click began is taken back.
    bool doubleClick();
    /// Escape.
    void cancel();
    /// Delete; isShown: of what the reader sees now.
    void deleteMeasurement(const std::function<bool(const Measurement&)>& isShown);
    void remove(int id);
    void select(int id);
    /// The reader's own name for it; empty for none.
    void setLabel(int id, const QString& label);

Q_SIGNALS:
    void statusText(const QString& text);
    /// What views show has changed.
    void repaintNeeded();
    /// Records, selection or the whole list.
    void listChanged();

private:
    bool apply(const MeasurementEditor::Outcome& outcome);
    void sampleShownSeries();
    bool isOfShownSeries(const Measurement& measurement) const;
    /// Keeps what is read from the shown series with the measurements of it.
    void keepValues();

    MeasurementList none_; ///< while no study is open
    std::shared_ptr<StudyReading> reading_;
    StudyReading::Subscription subscription_;
    std::optional<MeasurementEditor> editor_;
    std::unique_ptr<VoxelSampler> sampler_;
    Tool tool_ = Tool::Crosshair;
    bool labelsShown_ = true;
};

} // namespace zorbel
