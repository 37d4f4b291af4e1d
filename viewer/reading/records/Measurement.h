#pragma once

#include "imaging/geometry/Vector3.h"
#include "imaging/geometry/ViewDirection.h"
#include "viewer/reading/records/MeasurementCalibration.h"
#include "viewer/reading/records/MeasurementKind.h"

#include <string>
#include <vector>

namespace zorbel {

/// One measurement, drawn on a plane through a volume or on a 2D image.
///
/// On a plane the points are LPS millimetres. On a 2D image they are (x, y, 0) in the image's own grid: x
/// along increasing columns, y along increasing rows, 0 at the centre of the first pixel, the same on both
/// axes also where pixels are not square. There one unit is a millimetre or, where calibration says so, a
/// pixel, that is the distance of two columns (see ImageGrid2D). Whichever it is, distances between points
/// are the distances to report. Value type; any thread.
struct Measurement {
    /// Given by MeasurementList; not kept in files.
    int id = 0;

    // In files `tool`, `points`, `planeAxisX` and `planeAxisY`.
    MeasurementKind kind = MeasurementKind::Length;
    std::vector<imaging::Vector3> points;
    /// In-plane axes of the plane; (1, 0, 0) and (0, 1, 0) on a 2D image.
    imaging::Vector3 planeAxisX{1.0, 0.0, 0.0};
    imaging::Vector3 planeAxisY{0.0, 1.0, 0.0};

    // In files `calibration`, `calibrationFactor`, `slice` and `seriesInstanceUid`. A record without them was
    // drawn on a plane through the study's volume.
    MeasurementCalibration calibration = MeasurementCalibration::World;
    /// Magnified: the magnification that the points are already divided by. Detector: millimetres at the
    /// detector for one pixel. Otherwise 1.
    double calibrationFactor = 1.0;
    /// Of a 2D image of several frames, from 0.
    int slice = 0;
    /// What it was drawn on; empty fits any series of the study.
    std::string seriesInstanceUid;

    // In files `label` and `value`, where they are not empty.
    /// The reader's own name for it, UTF-8; may be empty.
    std::string label;
    /// On one line, as last read from the voxels of the series that it was drawn on; see
    /// MeasurementValues::reportLine().
    std::string value;

    bool isOnImage() const { return calibration != MeasurementCalibration::World; }
    /// Holds the points that its kind needs.
    bool isComplete() const { return points.size() >= measurementPointCount(kind); }
    bool isOfSeries(const std::string& uid) const {
        return seriesInstanceUid.empty() || uid.empty() || seriesInstanceUid == uid;
    }

    /// Of length 1, or zero where the axis is no longer than 1e-8.
    imaging::Vector3 unitAxisX() const { return imaging::normalized(planeAxisX); }
    imaging::Vector3 unitAxisY() const { return imaging::normalized(planeAxisY); }
    /// Zero where the axes span no plane.
    imaging::Vector3 unitNormal() const {
        return imaging::normalized(imaging::cross(unitAxisX(), unitAxisY()));
    }
    /// A displacement's part along the plane's axes.
    imaging::Vector3 alongAxisX(const imaging::Vector3& way) const;
    imaging::Vector3 alongAxisY(const imaging::Vector3& way) const;

    /// The standard plane nearest to its own.
    imaging::ViewDirection nearestView() const;

    friend bool operator==(const Measurement&, const Measurement&) = default;
};

} // namespace zorbel
