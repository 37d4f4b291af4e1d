#include "viewer/reading/state/KeyImageStore.h"

#include "viewer/reading/state/RecordLists.h"
#include "viewer/reading/state/SaveAttempt.h"
#include "viewer/reading/state/StateKind.h"

#include <stdexcept>

namespace zorbel {

namespace {

constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";

std::string folderOf(const std::string& uid) {
    return std::string(stateFolder(StateKind::KeyImages)) + "/" + uid;
}

std::string indexOf(const std::string& folder) {
    return folder + "/index.json";
}

bool isPicture(const KeyImageStore::Picture& picture) {
    const auto fits = [](int side) { return side >= 1 && side <= longestKeyImageSide; };
    return picture.png.starts_with(pngSignature) && fits(picture.width) && fits(picture.height);
}

} // namespace

KeyImageList KeyImageStore::load(std::string_view studyInstanceUid) {
    const auto uid = studyFileName(studyInstanceUid);
    if (!uid)
        return {};
    const auto folder = folderOf(*uid);
    const auto lock = files_.lock();
    const bool hadIndex = files_.exists(indexOf(folder));
    const auto index = readIndex(folder);
    // Without the lock another program may be about to name its picture in the list.
    if (lock && (index || !hadIndex) && !files_.hasDamaged(indexOf(folder))) {
        for (const std::string& name : files_.namesIn(folder)) {
            if (keyImageNumber(name) && !(index && index->holds(name)))
                files_.remove(folder + "/" + name);
        }
    }
    return withPictures(folder, index.value_or(KeyImageList()));
}

KeyImageCapture
KeyImageStore::add(std::string_view studyInstanceUid, KeyImageList& list, const Picture& picture) {
    if (studyInstanceUid.find_first_not_of(" \t\r\n") == std::string_view::npos)
        return {false, KeyImageList::noStudyText};
    if (!isPicture(picture))
        return {false, KeyImageList::grabFailedText};
    const auto uid = studyFileName(studyInstanceUid);
    const auto folder = folderOf(uid.value_or(""));
    auto failure = attemptSave(KeyImageList::folderFailedText, [&] {
        if (!uid)
            throw std::invalid_argument("The study has no valid UID");
        files_.createFolder(folder);
    });
    if (!failure.empty())
        return {false, failure};

    const auto lock = files_.lock();
    KeyImageList merged = withPictures(folder, readIndex(folder).value_or(list));
    int number = merged.nextNumber();
    while (merged.holds(keyImageFileName(number)) || files_.exists(folder + "/" + keyImageFileName(number)))
        ++number;
    const std::string name = folder + "/" + keyImageFileName(number);
    failure = attemptSave(
        KeyImageList::writeFailedText, [&] { files_.write(name, picture.png, StateFiles::largestPicture); });
    if (!failure.empty())
        return {false, failure};
    merged.add({keyImageFileName(number), picture.caption, picture.width, picture.height, true});
    failure = attemptSave(
        saveFailedText(StateKind::KeyImages), [&] { files_.write(indexOf(folder), keyImagesText(merged)); });
    if (!failure.empty()) {
        files_.remove(name);
        return {false, failure};
    }
    list = std::move(merged);
    return {true, list.capturedText(number)};
}

std::optional<KeyImageList> KeyImageStore::list(std::string_view studyInstanceUid) {
    const auto uid = studyFileName(studyInstanceUid);
    return uid ? readIndex(folderOf(*uid)) : std::nullopt;
}

std::string
KeyImageStore::edit(std::string_view studyInstanceUid, const KeyImageList& list, const KeyImageEdits& edits) {
    return attemptSave(saveFailedText(StateKind::KeyImages), [&] {
        const auto uid = studyFileName(studyInstanceUid);
        if (!uid)
            throw std::invalid_argument("The study has no valid UID");
        const auto folder = folderOf(*uid);
        files_.createFolder(folder);
        const auto lock = files_.lock();
        files_.write(indexOf(folder), keyImagesText(edits.appliedTo(readIndex(folder).value_or(list))));
        // One that cannot be removed goes when the study is next loaded: no list names it.
        for (const std::string& fileName : edits.removed())
            if (keyImageNumber(fileName))
                files_.remove(folder + "/" + fileName);
    });
}

void KeyImageStore::putBack(
    std::string_view studyInstanceUid, const KeyImageList& list, const std::vector<KeyImagePng>& pictures) {
    const auto uid = studyFileName(studyInstanceUid);
    if (!uid)
        return;
    const auto folder = folderOf(*uid);
    files_.createFolder(folder);
    for (const KeyImagePng& picture : pictures)
        if (picture.png && keyImageNumber(picture.image.fileName))
            files_.write(folder + "/" + picture.image.fileName, *picture.png, StateFiles::largestPicture);
    files_.write(indexOf(folder), keyImagesText(list));
}

std::optional<std::string> KeyImageStore::png(std::string_view studyInstanceUid, const KeyImage& image) {
    const auto uid = studyFileName(studyInstanceUid);
    if (!uid || !keyImageNumber(image.fileName))
        return std::nullopt;
    return files_.read(folderOf(*uid) + "/" + image.fileName, StateFiles::largestPicture);
}

std::optional<KeyImageList> KeyImageStore::readIndex(const std::string& folder) {
    const auto text = files_.read(indexOf(folder));
    if (!text)
        return std::nullopt;
    auto list = keyImagesFrom(*text);
    if (!list)
        files_.setAside(indexOf(folder));
    return list;
}

KeyImageList KeyImageStore::withPictures(const std::string& folder, const KeyImageList& listed) const {
    KeyImageList list({}, listed.removedUpTo());
    for (const KeyImage& image : listed.images()) {
        if (files_.exists(folder + "/" + image.fileName))
            list.add(image);
    }
    return list;
}

} // namespace zorbel
