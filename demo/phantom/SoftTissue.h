#pragma once

#include "demo/phantom/Structure.h"

namespace zorbel::demo {

/// Head and neck outside the bones: outline of the face with lips, chin and nose, fat under the skin, muscle.
class SoftTissue : public Structure {
public:
    SoftTissue();
    void paint(Point p, float voxel, float& value) const override;

private:
    static float skinDistance(Point p);
};

/// Mouth, tongue and pharynx; painted after the jaws so that the palate bounds the mouth.
class Mouth : public Structure {
public:
    Mouth();
    void paint(Point p, float voxel, float& value) const override;
};

class Pharynx : public Structure {
public:
    Pharynx();
    void paint(Point p, float voxel, float& value) const override;
};

} // namespace zorbel::demo
