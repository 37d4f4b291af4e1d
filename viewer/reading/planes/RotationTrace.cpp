#include "viewer/reading/planes/RotationTrace.h"

#include "app/log/Logger.h"
#include "viewer/reading/base/NumberText.h"
#include "viewer/reading/planes/GuideLine.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string_view>

namespace zorbel {

namespace {

constexpr auto noBasis = "<no basis>";
constexpr std::array<const char*, 3> planeNames{"axial", "coronal", "sagittal"};

std::string degrees(double radians) {
    return fixedText(radians * 180.0 / std::numbers::pi, 6);
}

std::string vectorText(const imaging::Vector3& vector) {
    return "[" + fixedText(vector[0], 6) + " " + fixedText(vector[1], 6) + " " + fixedText(vector[2], 6) +
           "]";
}

std::string angleText(const PlaneBasis& a, const PlaneBasis& b) {
    // Rounding takes the product of equal unit vectors beyond 1.
    return degrees(std::acos(std::clamp(imaging::dot(a.normal(), b.normal()), -1.0, 1.0)));
}

bool& tracing() {
    static bool enabled = RotationTrace::isEnabledBy(std::getenv("ZORBEL_MPR_TRACE"));
    return enabled;
}

} // namespace

LogMeta RotationTrace::fields() const {
    LogMeta meta;
    meta["source"] = planeNames[static_cast<std::size_t>(source)];
    meta["dragDeg"] = degrees(radians);
    const bool hasAxes = std::all_of(live.begin(), live.end(), [](const auto& b) { return b.isValid(); });
    meta["hasAxes"] = hasAxes ? "true" : "false";
    const Point2 guide =
        guideDirection(live, imaging::ViewDirection::Axial, guidePlanes(imaging::ViewDirection::Axial)[0]);
    meta["axialGuideDeg"] = hasAxes ? degrees(std::atan2(guide.y, guide.x)) : noBasis;
    meta["focalPoint"] = vectorText(focalPoint);
    for (std::size_t plane = 0; plane < planeNames.size(); ++plane) {
        const std::string name = planeNames[plane];
        const bool isStored = stored[plane].isValid();
        const bool isLive = live[plane].isValid();
        meta[name + ".stored0"] = isStored ? vectorText(stored[plane].axis0) : noBasis;
        meta[name + ".stored1"] = isStored ? vectorText(stored[plane].axis1) : noBasis;
        meta[name + ".live0"] = isLive ? vectorText(live[plane].axis0) : noBasis;
        meta[name + ".live1"] = isLive ? vectorText(live[plane].axis1) : noBasis;
        meta[name + ".liveNormal"] = isLive ? vectorText(live[plane].normal()) : noBasis;
        meta[name + ".storedVsLiveDeg"] =
            isStored && isLive ? angleText(stored[plane], live[plane]) : noBasis;
    }
    return meta;
}

void RotationTrace::write() const {
    Logger::instance().info("MprRotation", "rotation step", fields());
}

bool RotationTrace::isEnabled() {
    return tracing();
}

void RotationTrace::setEnabled(bool enabled) {
    tracing() = enabled;
}

bool RotationTrace::isEnabledBy(const char* text) {
    const std::string_view value = text ? text : "";
    int number = 0;
    const auto result = std::from_chars(value.data(), value.data() + value.size(), number);
    return result.ec == std::errc() && result.ptr == value.data() + value.size() && number != 0;
}

} // namespace zorbel
