#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zorbel::demo {

class Structure;

/// A head of known geometry, for pictures whose truth can be looked up: a mandible with canals, a maxilla
/// with palate, sinuses and nose, two arches of teeth at their FDI places, spine, skull and soft tissue.
/// Everything is made by formula, in LPS millimetres with the occlusal plane at z = 0 and the midline at x =
/// 0; grey values are those of a CBCT after rescale (air -1000). The sides differ, so that a mirrored picture
/// shows: tooth 26 (patient's left) has a filling, tooth 38 (left) is missing and tooth 46 (right) is an
/// implant.
class JawPhantom {
public:
    using Position = std::array<double, 3>;

    /// A regular grid; axes along x, y and z.
    struct Grid {
        std::array<int, 3> size{};
        Position origin{};  ///< centre of the first voxel, mm
        Position spacing{}; ///< mm
        std::size_t voxels() const;
    };

    /// A point whose place is known and which can be found in the volume.
    struct Landmark {
        std::string name;
        Position position;
    };

    /// A sphere in which the grey value is the same everywhere, noise apart.
    struct Region {
        std::string name;
        Position centre;
        double radius;
        double grey;
    };

    JawPhantom();
    ~JawPhantom();

    /// The jaws at 0.4 mm: 320 × 320 × 240 voxels from (-63.8, -76, -44).
    static Grid jawGrid();

    /// Grey values, x fastest, edges softened over a voxel. The noise is about normal with the given standard
    /// deviation and the same for the same seed. Uses all cores.
    std::vector<std::int16_t> rasterize(const Grid& grid, double noise, std::uint32_t seed = 1) const;

    /// "filling 26", "condyle left", "condyle right", "implant 46 top", "implant 46 apex", "crown 11" to
    /// "crown 48" (middle of the chewing surface or edge), "mental foramen left", "mental foramen right".
    std::vector<Landmark> landmarks() const;
    /// Throws std::out_of_range for an unknown name.
    Position landmark(const std::string& name) const;
    std::vector<Region> regions() const;

    /// Teeth that stand in the arches: all of 11 to 48 but 38 and 46.
    static std::vector<int> teeth();

private:
    void
    rasterizeSlice(const Grid& grid, int slice, float noise, std::uint32_t seed, std::int16_t* out) const;

    std::vector<std::unique_ptr<Structure>> structures_;
};

} // namespace zorbel::demo
