#pragma once

#include "imaging/Image.h"

#include <memory>
#include <string>

namespace zorbel {

/// What an image is, and so how it is read.
enum class ImageKind { Volume, Panoramic, Cephalometric, Plain };

/// One series of the open study. Value type.
struct StudySeries {
    /// The same whenever the series is opened, and another for every series of the study: its UID; of an
    /// image that names none, as from a volume cache, a word of its own.
    std::string key;
    std::string modality;
    std::string description;
    ImageKind kind = ImageKind::Plain;
    /// Only of the series that is shown: images are large.
    std::shared_ptr<const imaging::Image> image;

    bool isVolume() const { return kind == ImageKind::Volume; }
    static std::string keyOf(const imaging::Image& image, ImageKind kind);
};

} // namespace zorbel
