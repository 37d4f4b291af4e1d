#pragma once

#include "viewer/reading/workspace/ViewportSet.h"

namespace zorbel {

/// The viewports of a volume in planes. The first three are imaging::ViewDirection's.
enum MprViewport : int { AxialViewport = 0, CoronalViewport = 1, SagittalViewport = 2, VolumeViewport = 3 };

/// The 3D view is no primary: it has a maximise button of its own.
inline ViewportSet mprViewports() {
    return {
        {"Axial", true, CoronalViewport},
        {"Coronal", true, SagittalViewport},
        {"Sagittal", true, AxialViewport},
        {"3D", false, AxialViewport, "Focused 3D view", "Restored MPR + 3D layout"}};
}

} // namespace zorbel
