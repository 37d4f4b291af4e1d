#pragma once

#include "demo/phantom/Structure.h"

namespace zorbel::demo {

/// Upper jaw with alveolar process, palate, sinuses, nasal cavity, septum, turbinates and the cheek bones.
class Maxilla : public Structure {
public:
    Maxilla();
    void paint(Point p, float voxel, float& value) const override;

private:
    static float boneDistance(Point p, float archDistance);
    static float sinusDistance(Point p);
    static float noseDistance(Point p);
    static void paintNose(Point p, float voxel, float& value);
};

/// Cervical spine behind the pharynx.
class Spine : public Structure {
public:
    Spine();
    void paint(Point p, float voxel, float& value) const override;
};

/// Vault, base, orbits and temporal bones: what a cephalogram shows above the jaws.
class Skull : public Structure {
public:
    Skull();
    void paint(Point p, float voxel, float& value) const override;

private:
    static float distance(Point p);
};

} // namespace zorbel::demo
