#pragma once

#include "demo/phantom/Structure.h"

#include <vector>

namespace zorbel::demo {

enum class ToothKind { Incisor, Canine, Premolar, Molar };

/// One root: an axis that bends from the neck to the apex, and its half widths at the neck. Tooth
/// coordinates.
struct ToothRoot {
    float startU = 0;
    float startV = 0;
    float endU = 0;
    float endV = 0;
    float halfU = 0;
    float halfV = 0;
};

/// Measures of one kind of tooth, millimetres.
struct ToothShape {
    ToothKind kind = ToothKind::Incisor;
    float mesioDistal = 0;
    float buccoLingual = 0;
    float crownHeight = 0;
    float rootLength = 0;
    float tilt = 0; ///< how far the crown leans outward, radians
    std::vector<ToothRoot> roots;
};

/// position: 1 (central incisor) to 8 (third molar).
ToothShape toothShape(bool upper, int position);

/// A tooth at its FDI place. Its own coordinates: u along the arch away from the midline, v outward, w from
/// the neck towards the crown.
class Tooth : public Structure {
public:
    /// fdi: 11 to 48.
    explicit Tooth(int fdi);
    void paint(Point p, float voxel, float& value) const override;

    Point toWorld(Point tooth) const;
    const ToothShape& shape() const { return shape_; }
    /// Middle of the incisal edge or of the chewing surface, at the height of the cusps.
    Point crownTop() const { return toWorld({0, 0, shape_.crownHeight}); }

    static bool isUpper(int fdi) { return fdi / 10 <= 2; }
    static bool isLeft(int fdi) { return fdi / 10 == 2 || fdi / 10 == 3; }

private:
    struct Place {
        Point origin;
        Point u;
        Point v;
        Point w;
    };

    static Place placeOf(int fdi, const ToothShape& shape);
    static Bounds boundsOf(const Place& place, const ToothShape& shape);
    void paintCrown(Point local, float radial, float top, float voxel, float& value) const;
    void paintRoots(Point local, float voxel, float& value) const;
    float crownTopHeight(Point local) const;
    float crownRadius(Point local, float& a, float& b) const;

    ToothShape shape_;
    Place place_;
};

/// A filling in the chewing surface.
class Filling : public Structure {
public:
    explicit Filling(const Tooth& tooth);
    void paint(Point p, float voxel, float& value) const override;
    Point centre() const { return centre_; }

    static constexpr float radius = 2.2F;

private:
    Point centre_;
};

/// A screw in place of a root and a ceramic crown.
class Implant : public Structure {
public:
    /// Takes the tooth's place.
    explicit Implant(const Tooth& tooth);
    void paint(Point p, float voxel, float& value) const override;
    Point top() const { return top_; }
    Point apex() const { return apex_; }

    static constexpr float length = 11.5F;
    static constexpr float radius = 2.05F;

private:
    Point top_;
    Point apex_;
    Point crown_;
};

} // namespace zorbel::demo
