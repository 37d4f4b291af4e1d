#pragma once

#include "viewer/reading/records/KeyImageEdits.h"
#include "viewer/reading/records/KeyImageList.h"
#include "viewer/reading/records/KeyImagePng.h"
#include "viewer/reading/state/StateFiles.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// What a capture did.
struct KeyImageCapture {
    bool captured = false;
    std::string text; ///< for the status bar, in any case
};

/// The key images of each study: "keyimages/<study UID>/" with the pictures "key-<number>.png" and their list
/// "index.json". A picture is in the list when it was captured whole. Of two programs none overwrites the
/// other's pictures, and the list holds both's. One thread; a capture waits for the disk.
class KeyImageStore {
public:
    /// A picture as it comes from the screen.
    struct Picture {
        std::string_view png; ///< the file's bytes
        int width = 0;        ///< pixels, 1 to longestKeyImageSide
        int height = 0;
        std::string caption; ///< UTF-8
    };

    /// The files must outlive this.
    explicit KeyImageStore(StateFiles& files) : files_(files) {}

    /// Empty where there is no readable list. Never throws. Pictures that no list names, which a program left
    /// that was killed, are removed; those of a list that was set aside stay.
    KeyImageList load(std::string_view studyInstanceUid);
    /// The list as it lies there, also with pictures that are missing; nothing where none can be read.
    std::optional<KeyImageList> list(std::string_view studyInstanceUid);
    /// Writes picture and list. `list` becomes what lies there then, with what another program captured and
    /// without what it removed; where no list can be read, it says what is in the new one. A failure leaves
    /// it as it is and no file behind.
    KeyImageCapture add(std::string_view studyInstanceUid, KeyImageList& list, const Picture& picture);
    /// Does the edits to the list that lies there, or to `list` where none can be read; then the files of
    /// removed pictures go. Returns what the status bar has to say, empty for nothing; the list and the
    /// pictures are then as they were.
    std::string edit(std::string_view studyInstanceUid, const KeyImageList& list, const KeyImageEdits& edits);
    /// The picture's bytes; nothing where it cannot be read.
    /// Puts back a list with pictures that were read before; nothing that lies there is kept. Throws
    /// std::system_error.
    void putBack(
        std::string_view studyInstanceUid, const KeyImageList& list,
        const std::vector<KeyImagePng>& pictures);
    std::optional<std::string> png(std::string_view studyInstanceUid, const KeyImage& image);

private:
    std::optional<KeyImageList> readIndex(const std::string& folder);
    KeyImageList withPictures(const std::string& folder, const KeyImageList& listed) const;

    StateFiles& files_;
};

} // namespace zorbel
