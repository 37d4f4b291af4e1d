#include "imaging/rendering/VolumeScene.h"

#include <vtkCallbackCommand.h>
#include <vtkColorTransferFunction.h>
#include <vtkGPUVolumeRayCastMapper.h>
#include <vtkImageData.h>
#include <vtkMatrix4x4.h>
#include <vtkPiecewiseFunction.h>
#include <vtkSmartPointer.h>
#include <vtkVolume.h>
#include <vtkVolumeProperty.h>

#include <algorithm>

namespace zorbel::imaging {

namespace {

int vtkBlendMode(VolumeBlendMode mode) {
    switch (mode) {
    case VolumeBlendMode::Composite:
        return vtkVolumeMapper::COMPOSITE_BLEND;
    case VolumeBlendMode::Mip:
        return vtkVolumeMapper::MAXIMUM_INTENSITY_BLEND;
    case VolumeBlendMode::MinIp:
        return vtkVolumeMapper::MINIMUM_INTENSITY_BLEND;
    case VolumeBlendMode::Average:
        return vtkVolumeMapper::AVERAGE_INTENSITY_BLEND;
    }
    return vtkVolumeMapper::COMPOSITE_BLEND;
}

} // namespace

VolumeScene::VolumeScene(const Image& image, const VolumeAppearance& appearance) {
    const auto data = vtkSmartPointer<vtkImageData>::Take(image.newVtkImage());
    mapper_->SetInputData(data);
    mapper_->AutoAdjustSampleDistancesOff();
    mapper_->UseJitteringOff();
    mapper_->SetReportProgress(false);
    vtkNew<vtkCallbackCommand> watch;
    watch->SetClientData(this);
    watch->SetCallback([](vtkObject*, unsigned long, void* self, void*) {
        static_cast<VolumeScene*>(self)->failed_ = true;
    });
    mapper_->AddObserver(vtkCommand::ErrorEvent, watch);

    const ImageGeometry& geometry = image.geometry();
    const Vector3& spacing = geometry.spacing();
    voxel_ = std::min({spacing[0], spacing[1], spacing[2]});
    meanSpacing_ = (spacing[0] + spacing[1] + spacing[2]) / 3.0;
    // Tied to the volume's size and not to its voxels, so that a coarser copy of it looks the same.
    const auto& size = geometry.dimensions();
    const double diagonal = length({spacing[0] * size[0], spacing[1] * size[1], spacing[2] * size[2]});
    property_->SetScalarOpacityUnitDistance(std::max(diagonal / 400.0, 1e-3));
    property_->SetInterpolationTypeToLinear();
    setAppearance(appearance);

    vtkNew<vtkMatrix4x4> matrix;
    matrix->DeepCopy(image.gridToWorldMatrix().data());
    volume_->SetUserMatrix(matrix);
    volume_->SetMapper(mapper_);
    volume_->SetProperty(property_);
    setQuality(1.0, 1.0, false);
}

VolumeScene::~VolumeScene() {
    mapper_->RemoveAllObservers();
}

void VolumeScene::setQuality(double imageStep, double rayStep, bool smooth) {
    mapper_->SetImageSampleDistance(static_cast<float>(imageStep));
    mapper_->SetSampleDistance(static_cast<float>(rayStep * voxel_));
    mapper_->SetUseJittering(smooth ? 1 : 0);
}

void VolumeScene::setVisible(bool visible) {
    volume_->SetVisibility(visible ? 1 : 0);
}

void VolumeScene::setAppearance(const VolumeAppearance& appearance) {
    vtkNew<vtkColorTransferFunction> colour;
    vtkNew<vtkPiecewiseFunction> opacity;
    for (const VolumeAppearance::Point& point : appearance.points) {
        colour->AddRGBPoint(point.value, point.red, point.green, point.blue);
        opacity->AddPoint(point.value, point.opacity);
    }
    property_->SetColor(colour);
    property_->SetScalarOpacity(opacity);
    if (appearance.gradientPoints.empty()) {
        property_->DisableGradientOpacityOn();
    } else {
        vtkNew<vtkPiecewiseFunction> gradient;
        // VTK takes the change over one voxel.
        for (const VolumeAppearance::GradientPoint& point : appearance.gradientPoints)
            gradient->AddPoint(point.perMillimetre * meanSpacing_, point.factor);
        property_->SetGradientOpacity(gradient);
        property_->DisableGradientOpacityOff();
    }
    mapper_->SetBlendMode(vtkBlendMode(appearance.blendMode));
    mapper_->SetAverageIPScalarRange(appearance.averageAbove, 1e30);
    property_->SetShade(appearance.blendMode == VolumeBlendMode::Composite ? 1 : 0);
    property_->SetAmbient(appearance.ambient);
    property_->SetDiffuse(appearance.diffuse);
    property_->SetSpecular(appearance.specular);
    property_->SetSpecularPower(appearance.specularPower);
}

} // namespace zorbel::imaging
