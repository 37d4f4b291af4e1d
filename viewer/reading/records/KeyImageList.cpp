#include "viewer/reading/records/KeyImageList.h"

#include <algorithm>

namespace zorbel {

bool KeyImageList::holds(const std::string& fileName) const {
    return std::any_of(
        images_.begin(), images_.end(), [&](const KeyImage& image) { return image.fileName == fileName; });
}

int KeyImageList::nextNumber() const {
    int number = 1;
    while (holds(keyImageFileName(number)))
        ++number;
    return number;
}

std::string KeyImageList::capturedText(int number) const {
    return "Key image " + std::to_string(number) + " captured (" + std::to_string(images_.size()) +
           " held for the report)";
}

} // namespace zorbel
