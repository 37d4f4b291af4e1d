#pragma once

#include <QRect>
#include <QSize>

namespace zorbel::imaging {

/// Divides a picture into parts that are drawn one after another, each as large as the time for it allows:
/// strips from the top, cut from the left where a strip takes too long. Device pixels, rows counted from the
/// bottom, as OpenGL counts.
class PictureTiles {
public:
    PictureTiles() = default;
    explicit PictureTiles(const QSize& picture) : picture_(picture) {}

    bool isDone() const { return picture_.isEmpty() || top_ >= picture_.height(); }
    /// The next part, of about so many pixels; the parts together cover the picture once. Empty when done.
    QRect next(double pixels);

private:
    QSize picture_;
    int top_ = 0;  ///< rows done, from the top
    int left_ = 0; ///< columns done of the strip below them
    int stripHeight_ = 0;
};

} // namespace zorbel::imaging
