#include "viewer/window/StandardModes.h"

#include "viewer/image/ImageMode.h"
#include "viewer/mpr/MprMode.h"
#include "viewer/workspace/ViewerWorkspace.h"

namespace zorbel {

void addStandardModes(ViewerWorkspace& workspace) {
    workspace.addMode(std::make_unique<ImageMode>(workspace.measureTool(), workspace.measurements()));
    workspace.addMode(std::make_unique<MprMode>(workspace.measureTool(), workspace.measurements()));
}

} // namespace zorbel
