#pragma once

#include "imaging/Image.h"
#include "imaging/display/VolumeAppearance.h"

#include <vtkNew.h>

class vtkGPUVolumeRayCastMapper;
class vtkVolume;
class vtkVolumeProperty;

namespace zorbel::imaging {

/// The VTK side of one volume in the 3D view: mapper, transfer functions and placement in the patient.
class VolumeScene {
public:
    VolumeScene(const Image& image, const VolumeAppearance& appearance);
    ~VolumeScene();
    VolumeScene(const VolumeScene&) = delete;
    VolumeScene& operator=(const VolumeScene&) = delete;

    vtkVolume* volume() const { return volume_; }
    /// imageStep: screen pixels for one ray, in each direction. rayStep: voxels between two samples of a ray.
    /// smooth: rays begin at different depths, which hides the rings that even samples leave on surfaces.
    void setQuality(double imageStep, double rayStep, bool smooth);
    void setVisible(bool visible);
    void setAppearance(const VolumeAppearance& appearance);
    /// VTK reported that it could not draw the volume.
    bool hasFailed() const { return failed_; }

private:
    vtkNew<vtkGPUVolumeRayCastMapper> mapper_;
    vtkNew<vtkVolumeProperty> property_;
    vtkNew<vtkVolume> volume_;
    double voxel_ = 1.0; ///< shortest side, mm
    double meanSpacing_ = 1.0;
    bool failed_ = false;
};

} // namespace zorbel::imaging
