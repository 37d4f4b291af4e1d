#include "viewer/studies/StudyIdentity.h"

#include "viewer/studies/StudyRows.h"

namespace zorbel {

namespace {

QString orFallback(const QString& text, const QString& fallback) {
    return text.isEmpty() ? fallback : text;
}

} // namespace

StudyIdentity::StudyIdentity(
    const QString& uid, const QString& patient, const QString& studyModality, const QString& date)
    : studyInstanceUID(uid.trimmed()), patientName(patient.trimmed()), modality(studyModality.trimmed()),
      studyDate(date.trimmed()) {}

QString StudyIdentity::shownPatientName() const {
    return orFallback(patientName, QStringLiteral("Unnamed patient"));
}

QString StudyIdentity::shownStudyInstanceUID() const {
    return orFallback(studyInstanceUID, QStringLiteral("UID unavailable"));
}

QString StudyIdentity::subtitle() const {
    return QStringLiteral("%1  ·  %2  ·  Study %3")
        .arg(
            orFallback(modality, QStringLiteral("Unknown modality")), StudyRows::displayDate(studyDate),
            shownStudyInstanceUID());
}

} // namespace zorbel
