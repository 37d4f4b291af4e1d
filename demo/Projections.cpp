#include "demo/Projections.h"

#include "demo/JawPhantom.h"
#include "demo/phantom/Shapes.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <thread>

namespace zorbel::demo {

namespace {

void forEachRow(int rows, const std::function<void(int)>& work) {
    std::atomic<int> next{0};
    const auto loop = [&] {
        for (int row = next++; row < rows; row = next++) {
            work(row);
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < std::max(std::thread::hardware_concurrency(), 1U); ++i) {
        threads.emplace_back(loop);
    }
    loop();
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// What stops rays, in millimetres of water for each millimetre of the way.
class Absorber {
public:
    Absorber(const JawPhantom& phantom, const JawPhantom::Grid& grid)
        : grid_(grid), greys_(phantom.rasterize(grid, 0)) {}

    float at(Point p) const {
        const auto x = static_cast<float>((p.x - grid_.origin[0]) / grid_.spacing[0]);
        const auto y = static_cast<float>((p.y - grid_.origin[1]) / grid_.spacing[1]);
        const auto z = static_cast<float>((p.z - grid_.origin[2]) / grid_.spacing[2]);
        const int i = static_cast<int>(std::floor(x));
        const int j = static_cast<int>(std::floor(y));
        const int k = static_cast<int>(std::floor(z));
        if (i < 0 || j < 0 || k < 0 || i + 1 >= grid_.size[0] || j + 1 >= grid_.size[1] ||
            k + 1 >= grid_.size[2]) {
            return 0;
        }
        const auto nx = static_cast<std::size_t>(grid_.size[0]);
        const std::size_t slice = nx * static_cast<std::size_t>(grid_.size[1]);
        const std::int16_t* c = greys_.data() + static_cast<std::size_t>(k) * slice +
                                static_cast<std::size_t>(j) * nx + static_cast<std::size_t>(i);
        const auto row = [fx = x - static_cast<float>(i)](const std::int16_t* two) {
            return mix(static_cast<float>(two[0]), static_cast<float>(two[1]), fx);
        };
        const float fy = y - static_cast<float>(j);
        const float low = mix(row(c), row(c + nx), fy);
        const float high = mix(row(c + slice), row(c + slice + nx), fy);
        return std::max(mix(low, high, z - static_cast<float>(k)) + 1000, 0.0F) / 1000;
    }

private:
    JawPhantom::Grid grid_;
    std::vector<std::int16_t> greys_;
};

struct CurvePoint {
    Point position;
    Point normal; ///< outward, horizontal
};

/// Where the panoramic machine is in focus, from the right condyle over the front teeth to the left one, in
/// equal steps.
std::vector<CurvePoint> focalCurve(int columns, double& step) {
    constexpr std::array<std::array<float, 2>, 8> leftHalf{
        {{-50, 0}, {-48.85F, 5}, {-45.4F, 10}, {-31.6F, 20}, {-16.5F, 27}, {0, 33}, {20, 45}, {52, 54}}};
    std::vector<Point> fine;
    for (int i = -4000; i <= 4000; ++i) {
        const float y = -50 + 102 * std::pow(std::abs(static_cast<float>(i)) / 4000, 2.0F);
        fine.push_back({(i < 0 ? -1.0F : 1.0F) * lookUp(leftHalf, y), y, 0});
    }
    std::vector<double> arc{0};
    for (std::size_t i = 1; i < fine.size(); ++i) {
        arc.push_back(arc.back() + length(fine[i] - fine[i - 1]));
    }
    step = arc.back() / columns;
    std::vector<CurvePoint> curve;
    std::size_t at = 1;
    for (int column = 0; column < columns; ++column) {
        const double target = (column + 0.5) * step;
        while (arc[at] < target) {
            ++at;
        }
        const std::size_t before = at > 100 ? at - 100 : 0;
        const Point along = normalized(fine[std::min(at + 100, fine.size() - 1)] - fine[before]);
        const auto t = static_cast<float>((target - arc[at - 1]) / (arc[at] - arc[at - 1]));
        curve.push_back({fine[at - 1] + (fine[at] - fine[at - 1]) * t, {along.y, -along.x, 0}});
    }
    return curve;
}

/// Lifts what differs from its neighbourhood, as every device's own processing does.
void sharpen(std::vector<float>& image, int columns, int rows, int radius, float amount) {
    const auto width = static_cast<std::size_t>(columns);
    const auto blur = [&](const std::vector<float>& in, bool horizontal) {
        std::vector<float> out(in.size());
        const int lines = horizontal ? rows : columns;
        const int count = horizontal ? columns : rows;
        forEachRow(lines, [&](int line) {
            const auto at = [&](int i) {
                const auto n = static_cast<std::size_t>(std::clamp(i, 0, count - 1));
                const auto l = static_cast<std::size_t>(line);
                return horizontal ? l * width + n : n * width + l;
            };
            float sum = 0;
            for (int i = -radius; i <= radius; ++i) {
                sum += in[at(i)];
            }
            for (int i = 0; i < count; ++i) {
                out[at(i)] = sum / static_cast<float>(2 * radius + 1);
                sum += in[at(i + radius + 1)] - in[at(i - radius)];
            }
        });
        return out;
    };
    std::vector<float> smooth = blur(blur(blur(blur(image, true), false), true), false);
    for (std::size_t i = 0; i < image.size(); ++i) {
        image[i] += amount * (image[i] - smooth[i]);
    }
}

Radiograph
developed(std::vector<float> image, int columns, int rows, double spacing, float halfValue, float noise) {
    for (float& value : image) {
        value = 4095 * (1 - std::exp(-value / halfValue));
    }
    sharpen(image, columns, rows, 40, 0.55F);
    Radiograph result{columns, rows, spacing, std::vector<std::uint16_t>(image.size())};
    for (std::size_t i = 0; i < image.size(); ++i) {
        const auto n = static_cast<std::uint32_t>(i);
        const std::uint32_t h = hashOf(n, n >> 7, 17);
        const float grain = (static_cast<float>((h & 0xFFFF) + (h >> 16)) / 65535 - 1) * 2.4F * noise;
        result.pixels[i] = static_cast<std::uint16_t>(std::clamp(image[i] + grain, 0.0F, 4095.0F));
    }
    return result;
}

} // namespace

Radiograph panoramicImage(const JawPhantom& phantom) {
    constexpr int columns = 2400;
    constexpr int rows = 1200;
    constexpr float layer = 11;
    constexpr float stride = 0.5F;
    double step = 0;
    const std::vector<CurvePoint> curve = focalCurve(columns, step);
    const double top = 0.5 * rows * step + 2;
    const Absorber absorber(phantom, {{332, 345, 320}, {-66.2, -72, -64}, {0.4, 0.4, 0.4}});
    std::vector<float> image(static_cast<std::size_t>(columns) * rows);
    forEachRow(rows, [&](int row) {
        const auto z = static_cast<float>(top - (row + 0.5) * step);
        for (int column = 0; column < columns; ++column) {
            const CurvePoint& focus = curve[static_cast<std::size_t>(column)];
            float sum = 0;
            for (float t = -layer; t <= layer; t += stride) {
                const float sharp = 1 - 0.75F * (t / layer) * (t / layer);
                Point p = focus.position + focus.normal * t;
                p.z = z;
                sum += sharp * stride * absorber.at(p);
            }
            // The cervical spine is never in focus and brightens the middle.
            const auto off = static_cast<float>((column - columns / 2) * step);
            sum += 6 * std::exp(-off * off / 900) * smoothStep(60, 10, std::abs(z - 5));
            image[static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)] = sum;
        }
    });
    return developed(std::move(image), columns, rows, step, 30, 14);
}

Radiograph cephalometricImage(const JawPhantom& phantom) {
    constexpr int columns = 1240;
    constexpr int rows = 1440;
    constexpr double spacing = 0.2;
    constexpr float source = -1500;
    constexpr float detector = 150;
    constexpr Point centre{0, 14, 32};
    const Absorber absorber(phantom, {{154, 390, 450}, {-76.5, -98, -108}, {1.0, 0.6, 0.6}});
    std::vector<float> image(static_cast<std::size_t>(columns) * rows);
    forEachRow(rows, [&](int row) {
        const auto z = static_cast<float>((rows / 2 - row - 0.5) * spacing);
        for (int column = 0; column < columns; ++column) {
            const auto y = static_cast<float>((columns / 2 - column - 0.5) * spacing);
            float sum = 0;
            for (float x = -76; x < 76.5F; x += 1) {
                const float part = (x - source) / (detector - source);
                sum += absorber.at({x, centre.y + y * part, centre.z + z * part});
            }
            image[static_cast<std::size_t>(row) * columns + static_cast<std::size_t>(column)] = sum;
        }
    });
    return developed(std::move(image), columns, rows, spacing, 120, 12);
}

} // namespace zorbel::demo
