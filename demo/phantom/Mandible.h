#pragma once

#include "demo/phantom/Structure.h"

#include <vector>

namespace zorbel::demo {

/// Body, rami, coronoid processes and condyles: cortical shell, cancellous inside.
class Mandible : public Structure {
public:
    Mandible();
    void paint(Point p, float voxel, float& value) const override;
    /// Signed distance to the bone's surface, negative inside; far away only an estimate.
    static float distance(Point p);

private:
    static float bodyDistance(Point p);
    static float ramusDistance(Point p);
};

/// The canal of one side's inferior alveolar nerve, from the inside of the ramus to the mental foramen.
class MandibularCanal : public Structure {
public:
    /// side: +1 the patient's left, -1 the right.
    explicit MandibularCanal(int side);
    void paint(Point p, float voxel, float& value) const override;
    /// The centre line of a side, back to front.
    static std::vector<Point> path(int side);

private:
    std::vector<Point> path_;
};

/// Bone inside: a net of fine struts about the mean grey of cancellous bone.
float cancellousGrey(Point p);

} // namespace zorbel::demo
