#include "viewer/reading/display/DisplayProperties.h"

#include "imaging/display/VolumeAppearance.h"

namespace zorbel {

void DisplayProperties::addWindow(const imaging::LevelWindow& window) {
    add("levelwindow", Parts{{"level", window.center}, {"width", window.width}});
}

void DisplayProperties::addSlab(const SlabModel& slab, bool linesShown) {
    add("reslice.thickslices", slab.isEnabled() ? static_cast<int>(slab.mode()) + 1 : 0);
    add("reslice.thickslices.num", slab.shownSlices());
    add("reslice.thickslices.showarea", slab.isEnabled() && linesShown);
}

void DisplayProperties::addVolumeRendering(const VolumeDisplay& display) {
    const imaging::VolumeAppearance lighting;
    add("volumerendering", display.isEnabled());
    add("volumerendering.preset",
        std::string(imaging::volumePresetNames.at(static_cast<std::size_t>(display.preset()))));
    add("volumerendering.blendmode", static_cast<int>(display.blendMode()));
    add("volumerendering.ambient", lighting.ambient);
    add("volumerendering.diffuse", lighting.diffuse);
    add("volumerendering.specular", lighting.specular);
    add("volumerendering.specular.power", lighting.specularPower);
}

} // namespace zorbel
