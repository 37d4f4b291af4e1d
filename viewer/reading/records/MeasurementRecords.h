#pragma once

#include "viewer/reading/records/Measurement.h"

#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// What was read from a file.
struct MeasurementRecords {
    std::vector<Measurement> measurements;
    int unreadable = 0; ///< records left out

    /// text: a JSON array of records, see Measurement for their members. Records of an unknown tool, that
    /// lack points, or whose members have other types or numbers out of range are left out; unknown members
    /// are not read. Anything but an array is one unreadable record. Takes any bytes.
    static MeasurementRecords fromJson(std::string_view text);
    /// In the given order; numbers come back as they were, bit by bit.
    static std::string toJson(const std::vector<Measurement>& measurements);
};

} // namespace zorbel
