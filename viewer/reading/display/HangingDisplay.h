#pragma once

#include "imaging/VoiTransform.h"
#include "viewer/reading/display/SlabModel.h"
#include "viewer/reading/state/HangingProtocol.h"

namespace zorbel {

// What of a hanging the display works with, and back. Pure functions; any thread.

imaging::LevelWindow levelWindowOf(const HangingProtocol::Window& window);
HangingProtocol::Window hangingWindowOf(const imaging::LevelWindow& window);

SlabModel slabOf(const HangingProtocol& hanging);
void setSlab(HangingProtocol& hanging, const SlabModel& slab);

} // namespace zorbel
