#include "demo/JawPhantom.h"

#include "demo/phantom/Anatomy.h"
#include "demo/phantom/Mandible.h"
#include "demo/phantom/Maxilla.h"
#include "demo/phantom/SoftTissue.h"
#include "demo/phantom/Tooth.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace zorbel::demo {

namespace {

constexpr int filledTooth = 26;
constexpr int missingTooth = 38;
constexpr int implantedTooth = 46;

JawPhantom::Position positionOf(Point p) {
    return {p.x, p.y, p.z};
}

/// About normal with standard deviation 1.
float normalNoise(std::uint32_t x, std::uint32_t y, std::uint32_t z) {
    const std::uint32_t a = hashOf(x, y, z);
    const std::uint32_t b = hashOf(a, z, x);
    const auto sum = static_cast<float>((a & 0xFFFF) + (a >> 16) + (b & 0xFFFF) + (b >> 16));
    return (sum / 65535.0F - 2.0F) * 1.7320508F;
}

} // namespace

std::size_t JawPhantom::Grid::voxels() const {
    return static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]) *
           static_cast<std::size_t>(size[2]);
}

JawPhantom::JawPhantom() {
    structures_.push_back(std::make_unique<SoftTissue>());
    structures_.push_back(std::make_unique<Skull>());
    structures_.push_back(std::make_unique<Spine>());
    structures_.push_back(std::make_unique<Mouth>());
    structures_.push_back(std::make_unique<Pharynx>());
    structures_.push_back(std::make_unique<Maxilla>());
    structures_.push_back(std::make_unique<Mandible>());
    structures_.push_back(std::make_unique<MandibularCanal>(1));
    structures_.push_back(std::make_unique<MandibularCanal>(-1));
    for (const int fdi : teeth()) {
        structures_.push_back(std::make_unique<Tooth>(fdi));
    }
    structures_.push_back(std::make_unique<Filling>(Tooth(filledTooth)));
    structures_.push_back(std::make_unique<Implant>(Tooth(implantedTooth)));
}

JawPhantom::~JawPhantom() = default;

JawPhantom::Grid JawPhantom::jawGrid() {
    return {{320, 320, 240}, {-63.8, -76.0, -44.0}, {0.4, 0.4, 0.4}};
}

std::vector<int> JawPhantom::teeth() {
    std::vector<int> all;
    for (int quadrant = 1; quadrant <= 4; ++quadrant) {
        for (int position = 1; position <= 8; ++position) {
            const int fdi = quadrant * 10 + position;
            if (fdi != missingTooth && fdi != implantedTooth) {
                all.push_back(fdi);
            }
        }
    }
    return all;
}

void JawPhantom::rasterizeSlice(
    const Grid& grid, int slice, float noise, std::uint32_t seed, std::int16_t* out) const {
    const auto at = [&grid](int axis, int index) {
        const auto a = static_cast<std::size_t>(axis);
        return static_cast<float>(grid.origin[a] + grid.spacing[a] * index);
    };
    const float z = at(2, slice);
    const auto voxel = static_cast<float>(std::max({grid.spacing[0], grid.spacing[1], grid.spacing[2]}));
    std::vector<const Structure*> here;
    for (const auto& structure : structures_) {
        if (z >= structure->bounds().low.z && z <= structure->bounds().high.z) {
            here.push_back(structure.get());
        }
    }
    std::vector<float> row(static_cast<std::size_t>(grid.size[0]));
    for (int j = 0; j < grid.size[1]; ++j) {
        const float y = at(1, j);
        std::fill(row.begin(), row.end(), grey::air);
        for (const Structure* structure : here) {
            const Bounds& bounds = structure->bounds();
            if (y < bounds.low.y || y > bounds.high.y) {
                continue;
            }
            const auto column = [&](float x) {
                const double index = (x - grid.origin[0]) / grid.spacing[0];
                return static_cast<int>(std::clamp(index, -1.0, static_cast<double>(grid.size[0])));
            };
            for (int i = std::max(column(bounds.low.x), 0);
                 i < std::min(column(bounds.high.x) + 1, grid.size[0]); ++i) {
                structure->paint({at(0, i), y, z}, voxel, row[static_cast<std::size_t>(i)]);
            }
        }
        for (int i = 0; i < grid.size[0]; ++i) {
            float value = row[static_cast<std::size_t>(i)];
            if (noise > 0) {
                value += noise * normalNoise(
                                     static_cast<std::uint32_t>(i) + seed * 7919U,
                                     static_cast<std::uint32_t>(j), static_cast<std::uint32_t>(slice));
            }
            *out++ = static_cast<std::int16_t>(std::lround(std::clamp(value, -1000.0F, 6000.0F)));
        }
    }
}

std::vector<std::int16_t> JawPhantom::rasterize(const Grid& grid, double noise, std::uint32_t seed) const {
    std::vector<std::int16_t> volume(grid.voxels());
    const std::size_t sliceVoxels = grid.voxels() / static_cast<std::size_t>(grid.size[2]);
    std::atomic<int> next{0};
    const auto work = [&] {
        for (int slice = next++; slice < grid.size[2]; slice = next++) {
            rasterizeSlice(
                grid, slice, static_cast<float>(noise), seed,
                volume.data() + sliceVoxels * static_cast<std::size_t>(slice));
        }
    };
    std::vector<std::thread> threads;
    for (unsigned i = 1; i < std::max(std::thread::hardware_concurrency(), 1U); ++i) {
        threads.emplace_back(work);
    }
    work();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return volume;
}

std::vector<JawPhantom::Landmark> JawPhantom::landmarks() const {
    const Point condyle = anatomy::leftCondyle;
    const Implant implant{Tooth(implantedTooth)};
    std::vector<Landmark> marks{
        {"filling 26", positionOf(Filling(Tooth(filledTooth)).centre())},
        {"condyle left", positionOf(condyle)},
        {"condyle right", positionOf({-condyle.x, condyle.y, condyle.z})},
        {"implant 46 top", positionOf(implant.top())},
        {"implant 46 apex", positionOf(implant.apex())},
        {"mental foramen left", positionOf(MandibularCanal::path(1).back())},
        {"mental foramen right", positionOf(MandibularCanal::path(-1).back())}};
    for (const int fdi : teeth()) {
        marks.push_back({"crown " + std::to_string(fdi), positionOf(Tooth(fdi).crownTop())});
    }
    return marks;
}

JawPhantom::Position JawPhantom::landmark(const std::string& name) const {
    for (const Landmark& mark : landmarks()) {
        if (mark.name == name) {
            return mark.position;
        }
    }
    throw std::out_of_range("The phantom has no landmark " + name);
}

std::vector<JawPhantom::Region> JawPhantom::regions() const {
    const Point sinus = anatomy::leftSinus;
    return {
        {"air in front of the face", {-50, -68, 0}, 4, grey::air},
        {"left maxillary sinus", positionOf(sinus), 7, grey::air},
        {"right maxillary sinus", {-sinus.x, sinus.y, sinus.z}, 7, grey::air},
        {"tongue", positionOf(anatomy::tongue), 9, grey::muscle},
        {"filling 26", landmark("filling 26"), 1.4, grey::amalgam}};
}

} // namespace zorbel::demo
