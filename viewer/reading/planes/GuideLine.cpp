#include "viewer/reading/planes/GuideLine.h"

namespace zorbel {

using imaging::ViewDirection;

std::array<ViewDirection, 2> guidePlanes(ViewDirection view) {
    switch (view) {
    case ViewDirection::Axial:
        return {ViewDirection::Sagittal, ViewDirection::Coronal};
    case ViewDirection::Coronal:
        return {ViewDirection::Sagittal, ViewDirection::Axial};
    case ViewDirection::Sagittal:
        break;
    }
    return {ViewDirection::Coronal, ViewDirection::Axial};
}

Point2 guideDirection(const PlaneBases& bases, ViewDirection view, ViewDirection other) {
    const PlaneBasis& own = basisOf(bases, view);
    const imaging::Vector3 normal = own.normal();
    const imaging::Vector3 line = imaging::normalized(imaging::cross(basisOf(bases, other).normal(), normal));
    const imaging::Vector3 right = imaging::normalized(own.axis0);
    return {imaging::dot(line, right), imaging::dot(line, imaging::cross(normal, right))};
}

std::array<GuideLine, 2> guideLines(
    const PlaneBases& bases, ViewDirection view, const std::array<double, 3>& slabThickness,
    double millimetresPerPixel) {
    std::array<GuideLine, 2> lines;
    const auto planes = guidePlanes(view);
    for (std::size_t index = 0; index < lines.size(); ++index) {
        GuideLine& line = lines[index];
        line.axisId = static_cast<int>(index) + 1;
        line.plane = planes[index];
        line.direction = guideDirection(bases, view, line.plane);
        line.colour = planeColour(line.plane);
        line.slabHalfThickness =
            slabThickness[static_cast<std::size_t>(line.plane)] / 2.0 / millimetresPerPixel;
    }
    return lines;
}

} // namespace zorbel
