#pragma once

#include "base/StudyIdentity.h"
#include "imaging/geometry/ViewDirection.h"
#include "viewer/mpr/GuideTool.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/state/HangingProtocol.h"
#include "viewer/tools/ToolTarget.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace zorbel {

namespace imaging {
class Image;
class PlaneView;
} // namespace imaging

class ToolLayer;
class ViewportFrame;
class ViewportOverlay;

/// One plane of a volume: its view with guide, texts and tools over it. User-interface thread.
class MprPane : public QObject, public ToolTarget {
    Q_OBJECT

public:
    explicit MprPane(imaging::ViewDirection direction, QObject* parent = nullptr);

    imaging::ViewDirection direction() const { return direction_; }
    /// Made here and handed to the layout, which takes ownership.
    ViewportFrame* frame() const { return frame_; }
    imaging::PlaneView& view() const { return *view_; }
    ToolLayer& layer() const { return *layer_; }
    GuideTool& guide() { return guide_; }

    /// Fitted, in the standard plane and the image's own window. Null is nothing.
    void setImage(const std::shared_ptr<const imaging::Image>& image);
    /// crosshair: LPS millimetres. slabThickness: of each plane, 0 without a slab.
    void showGuide(
        const imaging::Vector3& crosshair, const PlaneBases& bases,
        const std::array<double, 3>& slabThickness, bool linesShown);
    void showTexts(const StudyIdentity& study, const SlabModel& slab);
    void setTextsShown(bool shown);
    /// As the reader zoomed or moved it; nothing while it is fitted.
    std::optional<HangingProtocol::Framing> framing() const;

    bool showsImage() const override;
    void panBy(const QPointF& pixels) override;
    void zoomBy(double factor, const QPointF& anchor) override;
    void step(double slices) override;
    double pixelsPerSlice() const override { return 4.0; }
    std::optional<WindowDrag> beginWindowDrag() const override;
    void dragWindow(const imaging::LevelWindow& window) override { Q_EMIT windowDragged(window); }
    MeasurementView measurementView() const override;

Q_SIGNALS:
    void pressed();
    void guideEvent(const zorbel::GuideEvent& event);
    /// Position in the view.
    void crosshairMoved(const QPointF& position);
    void windowDragged(const zorbel::imaging::LevelWindow& window);

private:
    const imaging::ViewDirection direction_;
    imaging::PlaneView* view_ = nullptr;
    ViewportFrame* frame_ = nullptr;
    ViewportOverlay* texts_ = nullptr;
    ToolLayer* layer_ = nullptr;
    GuideTool guide_;
};

} // namespace zorbel
