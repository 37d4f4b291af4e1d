#pragma once

#include <string>

namespace zorbel {

class StudyReading;

/// How much of a reading goes into a report. Value type.
struct ReportContents {
    int findings = 0;
    int measurements = 0;
    int keyImages = 0; ///< those that are chosen for the report

    static ReportContents of(const StudyReading& reading);
    bool isEmpty() const { return findings == 0 && measurements == 0 && keyImages == 0; }
    /// "3 findings, 1 measurement, 2 key images"; what there is none of is left out, and "Nothing to add yet"
    /// where there is none of anything.
    std::string text() const;

    friend bool operator==(const ReportContents&, const ReportContents&) = default;
};

} // namespace zorbel
