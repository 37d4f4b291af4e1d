#pragma once

#include "cache/volume/VolumeCacheManifest.h"

#include <filesystem>

namespace zorbel {

/// Reads a volume cache's manifest and holds it against the JSON Schema that is shipped with the program.
class ManifestParser {
public:
    /// Throws ZorbelError (Manifest, ManifestInvalid), whatever is wrong with the files; or std::bad_alloc. A
    /// file of more than 32 MiB, 64 levels or a million values counts as no JSON. Any thread.
    static VolumeCacheManifest
    parse(const std::filesystem::path& manifestPath, const std::filesystem::path& schemaPath);
};

} // namespace zorbel
