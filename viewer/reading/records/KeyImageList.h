#pragma once

#include "viewer/reading/records/KeyImage.h"

#include <string>
#include <vector>

namespace zorbel {

/// The key images of the open study in the order in which they were captured. One thread.
class KeyImageList {
public:
    static constexpr char noStudyText[] = "Open a study before capturing a key image";
    static constexpr char notVisibleText[] = "The active viewport is not on screen";
    static constexpr char grabFailedText[] = "The viewport could not be captured";
    static constexpr char folderFailedText[] = "The key image folder could not be created";
    static constexpr char writeFailedText[] = "The key image could not be written";

    KeyImageList() = default;
    explicit KeyImageList(std::vector<KeyImage> images) : images_(std::move(images)) {}

    const std::vector<KeyImage>& images() const { return images_; }
    bool holds(const std::string& fileName) const;
    void add(KeyImage image) { images_.push_back(std::move(image)); }
    /// The lowest number that the list does not hold.
    int nextNumber() const;
    /// "Key image 3 captured (2 held for the report)".
    std::string capturedText(int number) const;

    friend bool operator==(const KeyImageList&, const KeyImageList&) = default;

private:
    std::vector<KeyImage> images_;
};

} // namespace zorbel
