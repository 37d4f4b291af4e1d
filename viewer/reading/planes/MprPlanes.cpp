#include "viewer/reading/planes/MprPlanes.h"

#include "app/log/Logger.h"

namespace zorbel {

bool MprPlanes::checkPlanesOrthogonal(const PlaneBases& live) {
    if (areOrthogonal(live)) {
        stored_ = live;
        rotationEnabled_ = true;
    } else {
        if (rotationEnabled_)
            Logger::instance().warn(
                "MainWindow",
                "MPR planes are not mutually orthogonal; rotation disabled until the viewports are "
                "reconfigured");
        rotationEnabled_ = false;
    }
    return rotationEnabled_;
}

bool MprPlanes::rotate(imaging::ViewDirection source, double radians) {
    if (!rotationEnabled_)
        return false;
    const auto turned = rotatedAbout(stored_, source, radians);
    if (turned)
        stored_ = *turned;
    return turned.has_value();
}

} // namespace zorbel
