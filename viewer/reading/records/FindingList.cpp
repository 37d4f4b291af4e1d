#include "viewer/reading/records/FindingList.h"

namespace zorbel {

bool FindingList::remove(std::size_t index) {
    if (index >= findings_.size())
        return false;
    findings_.erase(findings_.begin() + static_cast<std::ptrdiff_t>(index));
    return true;
}

std::string FindingList::countText() const {
    if (findings_.empty())
        return "No findings recorded";
    return std::to_string(findings_.size()) + " finding(s) recorded for this study";
}

} // namespace zorbel
