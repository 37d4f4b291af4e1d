#pragma once

#include "tools/CommandLine.h"

namespace zorbel::tools {

/// "volume pack DICOM-FOLDER CACHE-FOLDER [--chunk-slices N] [--no-sha256]": decodes the largest series below
/// a folder with the viewer's own reader and writes it as a volume cache. Refuses an incomplete series, a
/// folder whose largest series is not the only one of its size, and a cache folder that holds other things.
int runVolumePack(std::span<const std::string> arguments, const Streams& streams);

} // namespace zorbel::tools
