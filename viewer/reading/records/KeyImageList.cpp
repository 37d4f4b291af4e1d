#include "viewer/reading/records/KeyImageList.h"

#include <algorithm>
#include <utility>

namespace zorbel {

bool KeyImageList::holds(const std::string& fileName) const {
    return std::any_of(
        images_.begin(), images_.end(), [&](const KeyImage& image) { return image.fileName == fileName; });
}

KeyImage* KeyImageList::find(const std::string& fileName) {
    const auto found = std::find_if(
        images_.begin(), images_.end(), [&](const KeyImage& image) { return image.fileName == fileName; });
    return found != images_.end() ? &*found : nullptr;
}

bool KeyImageList::remove(const std::string& fileName) {
    const KeyImage* image = find(fileName);
    if (!image)
        return false;
    const int number = std::min(keyImageNumber(fileName).value_or(0), highestRemembered);
    images_.erase(images_.begin() + (image - images_.data()));
    removedUpTo_ = std::max(removedUpTo_, number);
    return true;
}

bool KeyImageList::setCaption(const std::string& fileName, std::string caption) {
    KeyImage* image = find(fileName);
    if (!image || image->caption == caption)
        return false;
    image->caption = std::move(caption);
    return true;
}

bool KeyImageList::setInReport(const std::string& fileName, bool inReport) {
    KeyImage* image = find(fileName);
    if (!image || image->inReport == inReport)
        return false;
    image->inReport = inReport;
    return true;
}

bool KeyImageList::move(const std::string& fileName, std::size_t to) {
    const KeyImage* image = find(fileName);
    if (!image || to >= images_.size())
        return false;
    const auto at = images_.begin() + (image - images_.data());
    const auto target = images_.begin() + static_cast<std::ptrdiff_t>(to);
    if (at == target)
        return false;
    if (at < target)
        std::rotate(at, at + 1, target + 1);
    else
        std::rotate(target, at, at + 1);
    return true;
}

int KeyImageList::nextNumber() const {
    int number = removedUpTo_ + 1;
    while (holds(keyImageFileName(number)))
        ++number;
    return number;
}

std::string KeyImageList::capturedText(int number) const {
    return "Key image " + std::to_string(number) + " captured (" + std::to_string(images_.size()) +
           " held for the report)";
}

} // namespace zorbel
