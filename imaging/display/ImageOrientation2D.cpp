#include "imaging/display/ImageOrientation2D.h"

namespace zorbel::imaging {

void ImageOrientation2D::apply(const std::array<int, 4>& onScreen) {
    const std::array<int, 4> before = matrix_;
    matrix_ = {
        onScreen[0] * before[0] + onScreen[1] * before[2], onScreen[0] * before[1] + onScreen[1] * before[3],
        onScreen[2] * before[0] + onScreen[3] * before[2], onScreen[2] * before[1] + onScreen[3] * before[3]};
}

void ImageOrientation2D::mirror() {
    apply({-1, 0, 0, 1});
}

void ImageOrientation2D::flipVertical() {
    apply({1, 0, 0, -1});
}

void ImageOrientation2D::rotate180() {
    apply({-1, 0, 0, -1});
}

void ImageOrientation2D::rotateClockwise() {
    apply({0, -1, 1, 0});
}

void ImageOrientation2D::rotateCounterClockwise() {
    apply({0, 1, -1, 0});
}

OrientationLabels ImageOrientation2D::labels(const ImageMetadata& metadata) const {
    const auto& [alongRow, alongColumn] = metadata.patientOrientation;
    // The screen's right is the image direction that the matrix's first row picks.
    const auto lettersAlong = [&](int columnPart, int rowPart) {
        const std::string& letters = columnPart != 0 ? alongRow : alongColumn;
        return columnPart + rowPart > 0 ? letters : oppositeLetters(letters);
    };
    OrientationLabels result;
    result.right = lettersAlong(matrix_[0], matrix_[1]);
    result.left = oppositeLetters(result.right);
    result.bottom = lettersAlong(matrix_[2], matrix_[3]);
    result.top = oppositeLetters(result.bottom);
    return result;
}

ImageOrientation2D
ImageOrientation2D::upright(const ImageMetadata& metadata, int columns, int rows, bool panoramic) {
    const auto& [alongRow, alongColumn] = metadata.patientOrientation;
    const auto startsWith = [](const std::string& letters, char first) {
        return !letters.empty() && letters.front() == first;
    };
    ImageOrientation2D result;
    if (startsWith(alongColumn, 'F'))
        return result;
    if (startsWith(alongColumn, 'H'))
        result.rotate180();
    else if (startsWith(alongRow, 'F'))
        result.rotateClockwise();
    else if (startsWith(alongRow, 'H'))
        result.rotateCounterClockwise();
    else if (
        panoramic && alongRow.empty() && alongColumn.empty() && rows * metadata.pixelAspectRatio > columns)
        result.rotateClockwise();
    return result;
}

} // namespace zorbel::imaging
