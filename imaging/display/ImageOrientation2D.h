#pragma once

#include "imaging/ImageMetadata.h"
#include "imaging/planes/OrientationLabels.h"

#include <array>

namespace zorbel::imaging {

/// How a 2D image is turned and mirrored on the screen: one of the eight ways to lay a rectangle on itself.
/// The operations act on what is seen, whatever came before, and compose. Value type; any thread.
class ImageOrientation2D {
public:
    void mirror();       ///< left to right
    void flipVertical(); ///< top to bottom
    void rotate180();
    void rotateClockwise();        ///< by 90°
    void rotateCounterClockwise(); ///< by 90°

    /// True where the screen's horizontal shows the image's columns' direction, that is after a quarter turn.
    bool swapsAxes() const { return matrix_[0] == 0; }
    bool isOriginal() const { return *this == ImageOrientation2D{}; }
    bool isMirrored() const { return matrix_[0] * matrix_[3] - matrix_[1] * matrix_[2] < 0; }

    /// Row-major 2 × 2 of −1, 0 and 1: screen (right, down) = matrix × image (increasing column, increasing
    /// row).
    const std::array<int, 4>& matrix() const { return matrix_; }

    /// Letters at the screen's edges for an image with this PatientOrientation; empty where the file names
    /// none. On projection images the letters of PS3.3 C.7.6.1.1.1 (quadrupeds aside) are A, P, R, L, H, F.
    OrientationLabels labels(const ImageMetadata& metadata) const;

    /// How to show an image upright. With a PatientOrientation: the turn that brings the feet to the bottom.
    /// Without one: unturned, but for a panoramic image higher than wide a quarter turn clockwise. Never
    /// mirrors: where the file's letters name a view from behind, they are shown so.
    static ImageOrientation2D upright(const ImageMetadata& metadata, int columns, int rows, bool panoramic);

    friend bool operator==(const ImageOrientation2D&, const ImageOrientation2D&) = default;

private:
    void apply(const std::array<int, 4>& onScreen);

    std::array<int, 4> matrix_{1, 0, 0, 1};
};

} // namespace zorbel::imaging
