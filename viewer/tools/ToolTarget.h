#pragma once

#include "imaging/VoiTransform.h"
#include "viewer/reading/display/WindowDrag.h"
#include "viewer/reading/measurements/MeasurementView.h"

#include <QPointF>

#include <optional>

namespace zorbel {

/// A viewport as tools see it: what can be done to what it shows. Positions and ways are logical pixels of
/// the view. User-interface thread.
class ToolTarget {
public:
    virtual ~ToolTarget() = default;

    /// Otherwise no tool does anything here.
    virtual bool showsImage() const = 0;
    virtual void panBy(const QPointF& pixels) = 0;
    /// factor above 1 enlarges; the point under anchor stays.
    virtual void zoomBy(double factor, const QPointF& anchor) = 0;
    /// Positive is the next slice or frame.
    virtual void step(double slices) = 0;
    /// Of a drag through the slices.
    virtual double pixelsPerSlice() const = 0;
    /// From the window that is shown now; nothing for an image without one.
    virtual std::optional<WindowDrag> beginWindowDrag() const = 0;
    virtual void dragWindow(const imaging::LevelWindow& window) = 0;
    virtual MeasurementView measurementView() const = 0;
};

} // namespace zorbel
