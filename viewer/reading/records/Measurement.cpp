#include "viewer/reading/records/Measurement.h"

#include <cmath>

namespace zorbel {

using imaging::Vector3;
using imaging::ViewDirection;
using imaging::operator*;

Vector3 Measurement::alongAxisX(const Vector3& way) const {
    return unitAxisX() * imaging::dot(way, unitAxisX());
}

Vector3 Measurement::alongAxisY(const Vector3& way) const {
    return unitAxisY() * imaging::dot(way, unitAxisY());
}

imaging::ViewDirection Measurement::nearestView() const {
    const imaging::Vector3 normal = unitNormal();
    const double sagittal = std::abs(normal[0]);
    const double coronal = std::abs(normal[1]);
    const double axial = std::abs(normal[2]);
    if (axial >= coronal && axial >= sagittal)
        return ViewDirection::Axial;
    return coronal >= sagittal ? ViewDirection::Coronal : ViewDirection::Sagittal;
}

} // namespace zorbel
