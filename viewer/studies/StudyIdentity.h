#pragma once

#include <QString>

namespace zorbel {

/// Whose images are shown; the texts are trimmed on construction.
struct StudyIdentity {
    StudyIdentity() = default;
    StudyIdentity(
        const QString& studyInstanceUID, const QString& patientName, const QString& modality,
        const QString& studyDate);

    QString studyInstanceUID;
    QString patientName;
    QString modality;
    QString studyDate;

    /// With the fallback words where a text is empty.
    QString shownPatientName() const;
    QString shownStudyInstanceUID() const;
    /// "modality  ·  date  ·  Study UID".
    QString subtitle() const;
};

} // namespace zorbel
