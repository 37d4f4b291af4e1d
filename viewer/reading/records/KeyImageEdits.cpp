#include "viewer/reading/records/KeyImageEdits.h"

#include <algorithm>

namespace zorbel {

namespace {

/// Of the pictures that the other list holds as well.
std::vector<std::string> commonNames(const KeyImageList& list, const KeyImageList& other) {
    std::vector<std::string> names;
    for (const KeyImage& image : list.images())
        if (other.holds(image.fileName))
            names.push_back(image.fileName);
    return names;
}

} // namespace

void KeyImageEdits::note(const KeyImageList& before, const KeyImageList& after) {
    for (const KeyImage& image : before.images()) {
        const auto& images = after.images();
        const auto now = std::find_if(images.begin(), images.end(), [&](const KeyImage& other) {
            return other.fileName == image.fileName;
        });
        if (now == images.end()) {
            removed_.insert(image.fileName);
            continue;
        }
        if (now->caption != image.caption)
            captions_[image.fileName] = now->caption;
        if (now->inReport != image.inReport)
            inReport_[image.fileName] = now->inReport;
    }
    if (commonNames(before, after) != commonNames(after, before)) {
        order_.clear();
        for (const KeyImage& image : after.images())
            order_.push_back(image.fileName);
    }
}

KeyImageList KeyImageEdits::appliedTo(const KeyImageList& list) const {
    std::vector<KeyImage> images = list.images();
    const auto placeOf = [this](const KeyImage& image) {
        return std::find(order_.begin(), order_.end(), image.fileName);
    };
    if (!order_.empty())
        std::stable_sort(images.begin(), images.end(), [&](const KeyImage& one, const KeyImage& other) {
            return placeOf(one) < placeOf(other);
        });
    KeyImageList edited(std::move(images), list.removedUpTo());
    for (const std::string& fileName : removed_)
        edited.remove(fileName);
    for (const auto& [fileName, caption] : captions_)
        edited.setCaption(fileName, caption);
    for (const auto& [fileName, inReport] : inReport_)
        edited.setInReport(fileName, inReport);
    return edited;
}

} // namespace zorbel
