#pragma once

#include <cstddef>
#include <memory>

namespace zorbel::imaging {

/// The values of a picture's pixels, rows from the top without gaps; not a number outside the volume.
class PlaneValues {
public:
    PlaneValues() = default;
    PlaneValues(int width, int height) { resize(width, height); }

    /// Leaves the values undefined; takes no new memory where the old is large enough.
    void resize(int width, int height);
    int width() const { return width_; }
    int height() const { return height_; }
    std::size_t count() const { return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_); }
    float* row(int y) { return values_.get() + static_cast<std::ptrdiff_t>(y) * width_; }
    const float* row(int y) const { return values_.get() + static_cast<std::ptrdiff_t>(y) * width_; }
    float at(int x, int y) const { return row(y)[x]; }

private:
    int width_ = 0;
    int height_ = 0;
    std::size_t capacity_ = 0;
    std::unique_ptr<float[]> values_;
};

/// Linearly interpolates a picture each of whose pixels covers factor × factor pixels of `full`, which has
/// its size set and begins at the same corner.
void enlarge(const PlaneValues& coarse, int factor, PlaneValues& full);

} // namespace zorbel::imaging
