#pragma once

#include "tools/CommandLine.h"

namespace zorbel::tools {

/// "volume verify CACHE-FOLDER [--uid UID] [--require-sha256]": loads a volume cache with the viewer's own
/// reader and prints one JSON object: the fields of "volume info --json" (null where a cache knows nothing),
/// or, with exit status 1, "severity", "code", "message" and "chunkIndex" of the failure.
int runVolumeVerify(std::span<const std::string> arguments, const Streams& streams);

} // namespace zorbel::tools
