#include "viewer/reading/study/StudySeries.h"

namespace zorbel {

std::string StudySeries::keyOf(const imaging::Image& image, ImageKind kind) {
    const std::string& uid = image.metadata().seriesInstanceUID;
    if (!uid.empty())
        return uid;
    return kind == ImageKind::Volume ? "volume" : "image";
}

} // namespace zorbel
