#pragma once

#include "viewer/reading/records/KeyImage.h"

#include <string>
#include <vector>

namespace zorbel {

/// The key images of the open study in the order in which the report shows them: that of their capture, until
/// the reader chooses another. A number that a removed picture had is not given again, so that a name means
/// one picture for all programs. One thread.
class KeyImageList {
public:
    static constexpr char noStudyText[] = "Open a study before capturing a key image";
    static constexpr char notVisibleText[] = "The active viewport is not on screen";
    static constexpr char grabFailedText[] = "The viewport could not be captured";
    static constexpr char folderFailedText[] = "The key image folder could not be created";
    static constexpr char writeFailedText[] = "The key image could not be written";

    KeyImageList() = default;
    explicit KeyImageList(std::vector<KeyImage> images, int removedUpTo = 0)
        : images_(std::move(images)), removedUpTo_(removedUpTo) {}

    const std::vector<KeyImage>& images() const { return images_; }
    bool holds(const std::string& fileName) const;
    void add(KeyImage image) { images_.push_back(std::move(image)); }
    /// False where the list has no such picture, or it is so already.
    bool remove(const std::string& fileName);
    bool setCaption(const std::string& fileName, std::string caption);
    bool setInReport(const std::string& fileName, bool inReport);
    /// The picture gets another place, from 0; the others keep their order.
    bool move(const std::string& fileName, std::size_t to);
    /// The lowest number that the list does not hold, above those of removed pictures.
    int nextNumber() const;
    /// The highest number of a removed picture; 0 where there was none.
    int removedUpTo() const { return removedUpTo_; }
    /// "Key image 3 captured (2 held for the report)".
    std::string capturedText(int number) const;

    friend bool operator==(const KeyImageList&, const KeyImageList&) = default;

    /// No higher number is remembered: a file that says so was tampered with.
    static constexpr int highestRemembered = 1'000'000;

private:
    KeyImage* find(const std::string& fileName);

    std::vector<KeyImage> images_;
    int removedUpTo_ = 0;
};

} // namespace zorbel
