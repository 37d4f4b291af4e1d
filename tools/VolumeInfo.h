#pragma once

#include "tools/CommandLine.h"

namespace zorbel::tools {

/// "volume info FOLDER [--json]": groups and decodes the DICOM files below a folder with the viewer's own
/// reader and prints one entry a block. Files left out, and blocks that cannot be decoded, go to the error
/// stream and do not change the exit status, unless there is nothing else.
int runVolumeInfo(std::span<const std::string> arguments, const Streams& streams);

} // namespace zorbel::tools
