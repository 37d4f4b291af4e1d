#pragma once

#include "imaging/Image.h"
#include "imaging/SplitReason.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace zorbel::tools {

/// What the tool says of a decoded volume, whatever it was decoded from. "sha256" is the digest of the voxel
/// values in voxel order, each as a little-endian IEEE 754 double, so that it depends on the values alone and
/// not on the type that holds them. Lengths and directions are rounded to 1e-12. What is not known is null.
nlohmann::ordered_json describeVolume(
    const imaging::Image& image, const std::vector<imaging::SplitReason>& splitReasons, double decodeMs);

/// UTF-8 whatever the volume's texts hold.
std::string jsonText(const nlohmann::ordered_json& json);

} // namespace zorbel::tools
