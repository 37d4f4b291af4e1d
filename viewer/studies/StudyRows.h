#pragma once

#include "api/StudyRecords.h"

#include <QString>

#include <vector>

namespace zorbel {

/// How the study list words, orders and filters its rows. Pure functions; any thread.
class StudyRows {
public:
    /// "dd MMM yyyy" in English for an ISO 8601 date-time or a DICOM date; "Date unavailable" for an empty
    /// one; any other text as it is.
    static QString displayDate(const QString& studyDate);
    /// The row's two lines: patient, then date and study type.
    static QString text(const ViewerStudySummary& study);
    static QString toolTip(const ViewerStudySummary& study);
    static QString typeLabel(const ViewerStudySummary& study);

    /// Newest study first; equal dates keep the service's order, undated ones come last.
    static void sortNewestFirst(std::vector<ViewerStudySummary>& studies);
    /// Every word of the search text occurs in the patient's name, modality, type, description or date (as
    /// shown or as sent); an empty text matches. type: one of StudyClassification's labels, or empty for all.
    static bool matches(const ViewerStudySummary& study, const QString& search, const QString& type);
};

} // namespace zorbel
