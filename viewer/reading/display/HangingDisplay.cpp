#include "viewer/reading/display/HangingDisplay.h"

namespace zorbel {

namespace {

using Shape = HangingProtocol::Window::Shape;
using imaging::VoiFunction;

static_assert(static_cast<int>(Shape::Linear) == static_cast<int>(VoiFunction::Linear));
static_assert(static_cast<int>(Shape::LinearExact) == static_cast<int>(VoiFunction::LinearExact));
static_assert(static_cast<int>(Shape::Sigmoid) == static_cast<int>(VoiFunction::Sigmoid));

} // namespace

imaging::LevelWindow levelWindowOf(const HangingProtocol::Window& window) {
    imaging::LevelWindow result;
    result.width = window.width;
    result.center = window.level;
    result.function = static_cast<VoiFunction>(window.shape);
    return result;
}

HangingProtocol::Window hangingWindowOf(const imaging::LevelWindow& window) {
    return {window.width, window.center, static_cast<Shape>(window.function)};
}

SlabModel slabOf(const HangingProtocol& hanging) {
    SlabModel slab;
    slab.setEnabled(hanging.slabEnabled);
    slab.setMode(static_cast<imaging::SlabMode>(hanging.slabMode));
    slab.setSliceCount(2 * hanging.slabHalfSlices + 1);
    return slab;
}

void setSlab(HangingProtocol& hanging, const SlabModel& slab) {
    hanging.slabEnabled = slab.isEnabled();
    hanging.slabMode = static_cast<int>(slab.mode());
    hanging.slabHalfSlices = slab.sliceCount() / 2;
}

} // namespace zorbel
