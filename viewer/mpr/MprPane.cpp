#include "viewer/mpr/MprPane.h"

#include "base/qt/QtText.h"
#include "imaging/rendering/PlaneView.h"
#include "viewer/tools/ToolLayer.h"
#include "viewer/views/OverlayTexts.h"
#include "viewer/views/ViewportOverlay.h"
#include "viewer/workspace/ViewportFrame.h"

#include <QColor>

namespace zorbel {

namespace {

Point2 toPoint(const QPointF& position) {
    return {position.x(), position.y()};
}

QPointF toQt(const Point2& point) {
    return {point.x, point.y};
}

QString nameOf(imaging::ViewDirection direction) {
    return qtText(imaging::viewDirectionName(direction));
}

} // namespace

MprPane::MprPane(imaging::ViewDirection direction, QObject* parent)
    : QObject(parent), direction_(direction),
      guide_(
          {[this](const GuideEvent& event) { Q_EMIT guideEvent(event); },
           [this](const QPointF& position) { Q_EMIT crosshairMoved(position); },
           [this] {
               if (layer_)
                   layer_->update();
           }}) {
    const QString name = nameOf(direction);
    view_ = new imaging::PlaneView(direction);
    view_->setObjectName(name.toLower() + QStringLiteral("View"));
    view_->setAccessibleName(QStringLiteral("%1 plane").arg(name));
    view_->setFocusPolicy(Qt::ClickFocus); // a click takes the keys away from the study list
    frame_ = new ViewportFrame(name, QColor::fromRgb(planeColour(direction)), view_);
    frame_->setObjectName(name.toLower() + QStringLiteral("Viewport"));
    texts_ = new ViewportOverlay(view_);
    layer_ = new ToolLayer(view_, *this);
    layer_->setObjectName(name.toLower() + QStringLiteral("Tools"));
    connect(layer_, &ToolLayer::pressed, this, &MprPane::pressed);
    connect(frame_, &ViewportFrame::pressed, this, &MprPane::pressed);
}

void MprPane::setImage(const std::shared_ptr<const imaging::Image>& image) {
    view_->setImage(image);
}

void MprPane::showGuide(
    const imaging::Vector3& crosshair, const PlaneBases& bases, const std::array<double, 3>& slabThickness,
    bool linesShown) {
    MprGuide::View now;
    now.width = view_->width();
    now.height = view_->height();
    now.center = toPoint(view_->worldToWidget(crosshair));
    now.lines = guideLines(bases, direction_, slabThickness, view_->millimetresPerPixel());
    now.active = showsImage();
    now.linesVisible = linesShown;
    guide_.setView(now);
    layer_->update();
}

void MprPane::showTexts(const StudyIdentity& study, const SlabModel& slab) {
    const auto& navigation = view_->navigation();
    frame_->setInfo(QString::fromStdString(navigation.sliceLabel()));
    if (!showsImage()) {
        texts_->clear();
        return;
    }
    const auto& metadata = view_->image()->metadata();
    texts_->setCorner(ViewportOverlay::TopLeft, OverlayTexts::patient(study, metadata));
    texts_->setCorner(
        ViewportOverlay::TopRight, OverlayTexts::notes(metadata, view_->image()->geometry().tiltDegrees()));
    texts_->setCorner(ViewportOverlay::BottomLeft, {OverlayTexts::window(view_->window(), metadata)});
    QStringList place{
        QString::fromStdString(navigation.sliceLabel()),
        QStringLiteral("%1 mm").arg(navigation.sliceSpacing(), 0, 'f', 2)};
    if (slab.isEnabled())
        place += QString::fromStdString(slab.overlayText(navigation.sliceSpacing()));
    texts_->setCorner(ViewportOverlay::BottomRight, place);
    texts_->setLetters(view_->orientationLabels());
}

void MprPane::setTextsShown(bool shown) {
    texts_->setVisible(shown);
}

std::optional<HangingProtocol::Framing> MprPane::framing() const {
    if (!showsImage() || view_->isFitted())
        return std::nullopt;
    return HangingProtocol::Framing{view_->millimetresPerPixel(), view_->lookedAt()};
}

bool MprPane::showsImage() const {
    return view_->image() != nullptr;
}

void MprPane::panBy(const QPointF& pixels) {
    view_->panBy(pixels);
}

void MprPane::zoomBy(double factor, const QPointF& anchor) {
    view_->zoomBy(factor, anchor);
}

void MprPane::step(double slices) {
    if (showsImage())
        view_->navigation().step(slices);
}

std::optional<WindowDrag> MprPane::beginWindowDrag() const {
    if (!showsImage())
        return std::nullopt;
    const auto& metadata = view_->image()->metadata();
    return WindowDrag(view_->window(), metadata.minimum, metadata.maximum);
}

MeasurementView MprPane::measurementView() const {
    MeasurementView now;
    if (showsImage())
        now.plane = MeasurementPlane::ofVolume(
            view_->navigation().plane(), view_->thickness(), view_->image()->metadata().seriesInstanceUID);
    now.toWidget = [view = view_](const imaging::Vector3& point) {
        return toPoint(view->worldToWidget(point));
    };
    now.fromWidget = [view = view_](const Point2& position) { return view->widgetToWorld(toQt(position)); };
    now.width = view_->width();
    now.height = view_->height();
    return now;
}

} // namespace zorbel
