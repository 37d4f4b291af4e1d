#pragma once

#include <QString>

#include <filesystem>

namespace zorbel {

struct ReleaseManifest;
struct UpdateOrigin;

/// Why a downloaded installer is refused, a sentence for the user; empty when its bytes are the published
/// ones and its signature is the origin's. Any thread; reads the file twice.
QString refusalOfInstaller(
    const std::filesystem::path& installer, const ReleaseManifest& manifest, const UpdateOrigin& origin);

} // namespace zorbel
