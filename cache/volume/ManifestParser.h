#pragma once

#include "cache/volume/VolumeCacheManifest.h"

#include <filesystem>

namespace zorbel {

/// Reads a volume cache's manifest and holds it against the JSON Schema that is shipped with the program.
class ManifestParser {
public:
    /// Throws ZorbelError (Manifest, ManifestInvalid), whatever is wrong. Any thread.
    static VolumeCacheManifest
    parse(const std::filesystem::path& manifestPath, const std::filesystem::path& schemaPath);
};

} // namespace zorbel
