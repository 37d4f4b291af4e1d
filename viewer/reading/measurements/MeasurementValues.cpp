#include "viewer/reading/measurements/MeasurementValues.h"

#include "viewer/reading/base/NumberText.h"
#include "viewer/reading/measurements/VoxelSampler.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace zorbel {

namespace {

using imaging::cross;
using imaging::dot;
using imaging::length;
using imaging::normalized;
using imaging::Vector3;
using imaging::operator+;
using imaging::operator-;
using imaging::operator*;
using Statistics = MeasurementValues::Statistics;

/// Collects the values at points of a measurement that can be read.
class Samples {
public:
    Samples(const Measurement& measurement, const VoxelSampler& sampler)
        : measurement_(measurement), sampler_(sampler) {}

    void take(const Vector3& point) {
        if (const auto value = sampler_.valueFor(measurement_, point))
            values_.push_back(*value);
    }

    std::optional<Statistics> statistics() const {
        if (values_.empty())
            return std::nullopt;
        Statistics result;
        result.count = static_cast<int>(values_.size());
        const auto [smallest, largest] = std::minmax_element(values_.begin(), values_.end());
        result.minimum = *smallest;
        result.maximum = *largest;
        double sum = 0.0;
        for (const double value : values_)
            sum += value;
        result.mean = sum / result.count;
        double squares = 0.0;
        for (const double value : values_)
            squares += (value - result.mean) * (value - result.mean);
        result.deviation = std::sqrt(squares / result.count);
        return result;
    }

private:
    const Measurement& measurement_;
    const VoxelSampler& sampler_;
    std::vector<double> values_;
};

std::optional<Statistics> alongPath(const Measurement& measurement, const VoxelSampler& sampler) {
    Samples samples(measurement, sampler);
    const Vector3 way = measurement.points[1] - measurement.points[0];
    constexpr int last = MeasurementValues::pathSamples - 1;
    for (int i = 0; i <= last; ++i)
        samples.take(measurement.points[0] + way * (static_cast<double>(i) / last));
    return samples.statistics();
}

std::optional<Statistics> insideRegion(const Measurement& measurement, const VoxelSampler& sampler) {
    const Vector3 diagonal = measurement.points[1] - measurement.points[0];
    if (length(measurement.planeAxisX) < 1e-8 || length(measurement.planeAxisY) < 1e-8)
        return std::nullopt;
    const Vector3 across = measurement.alongAxisX(diagonal);
    const Vector3 down = measurement.alongAxisY(diagonal);
    Samples samples(measurement, sampler);
    constexpr int side = MeasurementValues::regionSamples;
    for (int j = 0; j < side; ++j) {
        for (int i = 0; i < side; ++i) {
            const double s = (i + 0.5) / side;
            const double t = (j + 0.5) / side;
            const double x = 2.0 * s - 1.0;
            const double y = 2.0 * t - 1.0;
            if (measurement.kind == MeasurementKind::Box || x * x + y * y <= 1.0)
                samples.take(measurement.points[0] + across * s + down * t);
        }
    }
    return samples.statistics();
}

double angleDegrees(const std::vector<Vector3>& points) {
    const Vector3 u = normalized(points[0] - points[1]);
    const Vector3 v = normalized(points[2] - points[1]);
    if (length(u) == 0.0 || length(v) == 0.0)
        return 0.0;
    // Keeps its precision near 0° and 180°, where the cosine has none.
    return std::atan2(length(cross(u, v)), dot(u, v)) * 180.0 / std::numbers::pi;
}

std::string lengthText(const Measurement& measurement, double value) {
    switch (measurement.calibration) {
    case MeasurementCalibration::World:
    case MeasurementCalibration::Patient:
        break;
    case MeasurementCalibration::Magnified:
        return fixedText(value, 2) + " mm (magnification " + fixedText(measurement.calibrationFactor, 2) +
               ")";
    case MeasurementCalibration::Detector:
        return fixedText(value, 1) + " px (" + fixedText(value * measurement.calibrationFactor, 2) +
               " mm at the detector)";
    case MeasurementCalibration::Pixels:
        return fixedText(value, 1) + " px";
    }
    return fixedText(value, 2) + " mm";
}

std::string areaText(const Measurement& measurement, double value) {
    const double factor = measurement.calibrationFactor;
    switch (measurement.calibration) {
    case MeasurementCalibration::World:
    case MeasurementCalibration::Patient:
        break;
    case MeasurementCalibration::Magnified:
        return fixedText(value, 1) + " mm2 (magnification " + fixedText(factor, 2) + ")";
    case MeasurementCalibration::Detector:
        return fixedText(value, 1) + " px2 (" + fixedText(value * factor * factor, 1) +
               " mm2 at the detector)";
    case MeasurementCalibration::Pixels:
        return fixedText(value, 1) + " px2";
    }
    return fixedText(value, 1) + " mm2";
}

void measureRegion(const Measurement& measurement, const VoxelSampler* sampler, MeasurementValues& values) {
    const Vector3 diagonal = measurement.points[1] - measurement.points[0];
    values.area = length(measurement.alongAxisX(diagonal)) * length(measurement.alongAxisY(diagonal));
    if (measurement.kind == MeasurementKind::Oval)
        values.area *= std::numbers::pi / 4.0;
    values.label = areaText(measurement, values.area);
    if (sampler)
        values.samples = insideRegion(measurement, *sampler);
    if (const auto& found = values.samples)
        values.label += "\n" + fixedText(found->mean, 0) + " +/- " + fixedText(found->deviation, 0) + "  [" +
                        fixedText(found->minimum, 0) + ", " + fixedText(found->maximum, 0) + "]";
}

} // namespace

MeasurementValues MeasurementValues::of(const Measurement& measurement, const VoxelSampler* sampler) {
    MeasurementValues values;
    if (!measurement.isComplete())
        return values;
    if (sampler && !measurement.isOfSeries(sampler->image().metadata().seriesInstanceUID))
        sampler = nullptr;

    const auto& points = measurement.points;
    switch (measurement.kind) {
    case MeasurementKind::Length:
        values.length = imaging::length(points[1] - points[0]);
        values.label = lengthText(measurement, values.length);
        if (sampler)
            values.samples = alongPath(measurement, *sampler);
        if (const auto& found = values.samples)
            values.label += "  " + fixedText(found->minimum, 0) + " / " + fixedText(found->mean, 0) + " / " +
                            fixedText(found->maximum, 0);
        break;
    case MeasurementKind::Angle:
        values.degrees = angleDegrees(points);
        values.label = fixedText(values.degrees, 1) + " deg";
        break;
    case MeasurementKind::Probe:
        if (sampler)
            values.value = sampler->valueFor(measurement, points[0]);
        values.label = values.value ? fixedText(*values.value, 0) : "--";
        break;
    case MeasurementKind::Box:
    case MeasurementKind::Oval:
        measureRegion(measurement, sampler, values);
        break;
    }
    return values;
}

std::string MeasurementValues::lineLabel() const {
    std::string line = label;
    for (std::size_t at = line.find('\n'); at != std::string::npos; at = line.find('\n'))
        line.replace(at, 1, "  ");
    return line;
}

std::string MeasurementValues::reportLine(std::string_view unit) const {
    std::string line = lineLabel();
    if (!unit.empty() && (value || samples)) {
        line += ' ';
        line += unit;
    }
    return line;
}

std::string measurementViewName(const Measurement& measurement) {
    if (measurement.isOnImage())
        return "2D";
    const imaging::ViewDirection view = measurement.nearestView();
    constexpr double cosineOfOneDegree = 0.99984769515639127;
    const double along = measurement.unitNormal()[2 - static_cast<std::size_t>(view)];
    return std::string(imaging::viewDirectionName(view)) +
           (std::abs(along) < cosineOfOneDegree ? ", oblique" : "");
}

std::string_view valueUnit(const imaging::ImageMetadata& metadata) {
    return metadata.hounsfieldUnits ? "HU" : "";
}

std::string_view valueUnitText(const imaging::ImageMetadata& metadata) {
    return metadata.hounsfieldUnits ? "Hounsfield units" : "Grey values without a unit";
}

} // namespace zorbel
