#include "imaging/rendering/PlaneView.h"

#include "imaging/display/DefaultWindow.h"

#include <QResizeEvent>

#include <vtkCamera.h>
#include <vtkImageData.h>
#include <vtkImageProperty.h>
#include <vtkImageResliceMapper.h>
#include <vtkImageSlice.h>
#include <vtkLookupTable.h>
#include <vtkMatrix4x4.h>
#include <vtkNew.h>
#include <vtkRenderer.h>
#include <vtkSmartPointer.h>

#include <algorithm>
#include <cmath>

namespace zorbel::imaging {

/// One for each image, so that nothing of an earlier one is kept.
struct PlaneView::Pipeline {
    explicit Pipeline(const Image& image) {
        const auto data = vtkSmartPointer<vtkImageData>::Take(image.newVtkImage());
        mapper->SetInputData(data);
        // The plane is where the camera looks, and each screen pixel is computed from the voxels around it.
        mapper->SliceFacesCameraOn();
        mapper->SliceAtFocalPointOn();
        mapper->ResampleToScreenPixelsOn();
        mapper->AutoAdjustImageQualityOff();
        mapper->BorderOn();
        slice->SetMapper(mapper);
        slice->GetProperty()->SetInterpolationTypeToLinear();
        vtkNew<vtkMatrix4x4> matrix;
        matrix->DeepCopy(image.gridToWorldMatrix().data());
        slice->SetUserMatrix(matrix);

        constexpr int greys = 1024;
        negative->SetNumberOfTableValues(greys);
        for (int index = 0; index < greys; ++index) {
            const double grey = 1.0 - index / (greys - 1.0);
            negative->SetTableValue(index, grey, grey, grey, 1.0);
        }
    }

    vtkNew<vtkImageResliceMapper> mapper;
    vtkNew<vtkImageSlice> slice;
    vtkNew<vtkLookupTable> negative;
};

PlaneView::PlaneView(ViewDirection direction, QWidget* parent)
    : RenderWindowWidget(parent), navigation_(direction) {
    navigation_.setChangeCallback([this] { planeChanged(); });
    renderer()->GetActiveCamera()->ParallelProjectionOn();
}

PlaneView::~PlaneView() {
    navigation_.setChangeCallback({});
    if (pipeline_)
        withContext([this] { renderer()->RemoveViewProp(pipeline_->slice); });
}

void PlaneView::setImage(std::shared_ptr<const Image> image) {
    withContext([&] {
        if (pipeline_)
            renderer()->RemoveViewProp(pipeline_->slice);
        pipeline_ = image ? std::make_unique<Pipeline>(*image) : nullptr;
        if (pipeline_)
            renderer()->AddViewProp(pipeline_->slice);
    });
    image_ = std::move(image);
    if (!image_) {
        navigation_.clear();
        return;
    }
    window_ = initialWindow(*image_);
    inverted_ = image_->metadata().inverted;
    applyWindow();
    cameraCenter_ = image_->geometry().center();
    fitted_ = true;
    navigation_.setGeometry(image_->geometry());
    fit();
    Q_EMIT windowChanged();
}

void PlaneView::clear() {
    setImage(nullptr);
}

void PlaneView::setWindow(double center, double width) {
    LevelWindow window;
    window.center = center;
    window.width = width;
    setWindow(window);
}

void PlaneView::setWindow(const LevelWindow& window) {
    if (!std::isfinite(window.center) || !std::isfinite(window.width))
        return;
    window_ = window;
    applyWindow();
    Q_EMIT windowChanged();
}

void PlaneView::setInverted(bool inverted) {
    inverted_ = inverted;
    applyWindow();
}

void PlaneView::applyWindow() {
    if (!pipeline_)
        return;
    double level = window_.center;
    double width = window_.width;
    // PS3.3 C.11.2.1.2.1; below a width of 1, where LINEAR is not defined, as LINEAR_EXACT.
    if (window_.function == VoiFunction::Linear && width >= 1.0) {
        level -= 0.5;
        width -= 1.0;
    }
    vtkImageProperty* property = pipeline_->slice->GetProperty();
    property->SetColorLevel(level);
    property->SetColorWindow(std::max(width, 1e-6));
    property->SetLookupTable(inverted_ ? pipeline_->negative.Get() : nullptr);
    property->UseLookupTableScalarRangeOff();
    requestUpdate();
}

void PlaneView::planeChanged() {
    if (fitted_)
        fit();
    requestUpdate();
    Q_EMIT sliceChanged();
    Q_EMIT viewChanged();
}

void PlaneView::fitToView() {
    if (image_)
        cameraCenter_ = image_->geometry().center();
    fitted_ = true;
    fit();
}

void PlaneView::fit() {
    if (!image_)
        return;
    const PlaneGeometry plane = navigation_.plane().movedTo(image_->geometry().center());
    std::array<double, 2> half{0.0, 0.0};
    for (int corner = 0; corner < 8; ++corner) {
        Vector3 index{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            index[axis] = (corner >> axis) & 1 ? image_->geometry().dimensions()[axis] - 0.5 : -0.5;
        const auto position = plane.toPlane(image_->geometry().indexToWorld(index));
        for (std::size_t axis = 0; axis < 2; ++axis)
            half[axis] = std::max(half[axis], std::abs(position[axis]));
    }
    constexpr double margin = 1.02;
    fittedMillimetresPerPixel_ =
        margin * std::max(2.0 * half[0] / std::max(width(), 1), 2.0 * half[1] / std::max(height(), 1));
    if (fitted_ && millimetresPerPixel_ != fittedMillimetresPerPixel_) {
        millimetresPerPixel_ = fittedMillimetresPerPixel_;
        Q_EMIT viewChanged();
    }
    requestUpdate();
}

void PlaneView::zoomBy(double factor, const QPointF& anchor) {
    if (!image_ || !(factor > 0.0) || !std::isfinite(factor))
        return;
    const Vector3 held = widgetToWorld(anchor);
    constexpr double smallest = 0.1; // of the fitted size
    constexpr double closest = 1e-3; // millimetres a pixel
    fitted_ = false;
    const double farthest = std::max(fittedMillimetresPerPixel_ / smallest, closest);
    millimetresPerPixel_ = std::clamp(millimetresPerPixel_ / factor, closest, farthest);
    cameraCenter_ = cameraCenter() + held - widgetToWorld(anchor);
    requestUpdate();
    Q_EMIT viewChanged();
}

void PlaneView::panBy(const QPointF& pixels) {
    if (!image_)
        return;
    const PlaneGeometry& plane = navigation_.plane();
    fitted_ = false;
    cameraCenter_ = cameraCenter() - plane.axisVector(0) * (pixels.x() * millimetresPerPixel_) -
                    plane.axisVector(1) * (pixels.y() * millimetresPerPixel_);
    requestUpdate();
    Q_EMIT viewChanged();
}

QPointF PlaneView::worldToWidget(const Vector3& point) const {
    const auto [right, down] = navigation_.plane().movedTo(cameraCenter()).toPlane(point);
    return {width() / 2.0 + right / millimetresPerPixel_, height() / 2.0 + down / millimetresPerPixel_};
}

Vector3 PlaneView::widgetToWorld(const QPointF& position) const {
    return navigation_.plane()
        .movedTo(cameraCenter())
        .fromPlane(
            (position.x() - width() / 2.0) * millimetresPerPixel_,
            (position.y() - height() / 2.0) * millimetresPerPixel_);
}

void PlaneView::prepareFrame(const QSize& pixels) {
    if (!image_)
        return;
    const PlaneGeometry& plane = navigation_.plane();
    // The middle of the picture: at a fractional device pixel ratio not quite the middle of the widget.
    const double ratio = devicePixelRatioF();
    const Vector3 focus = widgetToWorld({pixels.width() / ratio / 2.0, pixels.height() / ratio / 2.0});
    const double distance = 1000.0;
    const Vector3 eye = focus - plane.normal() * distance;
    const Vector3& down = plane.axisVector(1);
    vtkCamera* camera = renderer()->GetActiveCamera();
    camera->SetFocalPoint(focus.data());
    camera->SetPosition(eye.data());
    camera->SetViewUp(-down[0], -down[1], -down[2]);
    camera->SetParallelScale(pixels.height() * millimetresPerPixel_ / ratio / 2.0);
    camera->SetClippingRange(distance * 0.5, distance * 1.5);
}

void PlaneView::resizeEvent(QResizeEvent* event) {
    RenderWindowWidget::resizeEvent(event);
    fit();
    Q_EMIT viewChanged();
}

} // namespace zorbel::imaging
