#pragma once

#include "viewer/reading/records/KeyImage.h"

#include <optional>
#include <string>

namespace zorbel {

/// A key image with its picture, read from the disk. Value type.
struct KeyImagePng {
    KeyImage image;
    /// The file's bytes; nothing where it cannot be read.
    std::optional<std::string> png;
};

} // namespace zorbel
