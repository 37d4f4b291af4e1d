#include "imaging/planes/PlaneValues.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zorbel::imaging {

namespace {

/// Where a pixel lies between two coarse ones.
struct Between {
    int first = 0;
    int second = 0;
    float part = 0.0F; ///< weight of the second

    int nearest() const { return part < 0.5F ? first : second; }
};

Between between(int pixel, int factor, int coarseSize) {
    const double at = std::clamp((pixel + 0.5) / factor - 0.5, 0.0, coarseSize - 1.0);
    const int first = static_cast<int>(at);
    return {first, std::min(first + 1, coarseSize - 1), static_cast<float>(at - first)};
}

} // namespace

void PlaneValues::resize(int width, int height) {
    width_ = std::max(width, 0);
    height_ = std::max(height, 0);
    if (count() > capacity_) {
        values_ = std::make_unique_for_overwrite<float[]>(count());
        capacity_ = count();
    }
}

void enlarge(const PlaneValues& coarse, int factor, PlaneValues& full) {
    if (coarse.count() == 0)
        return;
    std::vector<Between> columns;
    for (int x = 0; x < full.width(); ++x)
        columns.push_back(between(x, factor, coarse.width()));
    std::vector<float> mixed(static_cast<std::size_t>(coarse.width()));
    for (int y = 0; y < full.height(); ++y) {
        const Between row = between(y, factor, coarse.height());
        const float* upper = coarse.row(row.first);
        const float* lower = coarse.row(row.second);
        for (std::size_t x = 0; x < mixed.size(); ++x)
            mixed[x] = upper[x] + row.part * (lower[x] - upper[x]);
        float* out = full.row(y);
        for (std::size_t x = 0; x < columns.size(); ++x) {
            const Between& column = columns[x];
            const float first = mixed[static_cast<std::size_t>(column.first)];
            const float second = mixed[static_cast<std::size_t>(column.second)];
            out[x] = first + column.part * (second - first);
            // At the volume's border there is nothing to mix with.
            if (std::isnan(out[x]))
                out[x] = coarse.at(column.nearest(), row.nearest());
        }
    }
}

} // namespace zorbel::imaging
