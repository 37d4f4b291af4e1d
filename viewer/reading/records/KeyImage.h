#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// A picture of a viewport that is held for the report. The picture itself is a PNG file.
struct KeyImage {
    std::string fileName; ///< "key-3.png"
    std::string caption;  ///< UTF-8
    int width = 0;        ///< pixels
    int height = 0;
    bool inReport = true; ///< goes into the report with the next one that is opened

    friend bool operator==(const KeyImage&, const KeyImage&) = default;
};

/// The longest side of a key image that is taken, pixels.
constexpr int longestKeyImageSide = 65535;

/// "key-3.png".
std::string keyImageFileName(int number);
/// The number in such a name; nothing for any other name.
std::optional<int> keyImageNumber(std::string_view fileName);

/// What a key image shows; what does not apply is left out of the caption.
struct KeyImageView {
    struct Slice {
        int number = 1; ///< from 1
        int count = 1;
    };
    struct Window {
        double width = 0.0;
        double level = 0.0;
    };

    std::string_view name; ///< "Axial", "Coronal", "Sagittal"
    std::optional<Slice> slice;
    std::optional<Window> window;
};

/// "Axial · slice 12/240 · W 1800 L 400" (UTF-8), the window rounded to whole numbers.
std::string keyImageCaption(const KeyImageView& view);

} // namespace zorbel
