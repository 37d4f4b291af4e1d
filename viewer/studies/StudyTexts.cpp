#include "viewer/studies/StudyTexts.h"

#include "viewer/studies/StudyRows.h"

namespace zorbel {

namespace {

QString orFallback(const std::string& text, const char* fallback) {
    return text.empty() ? QString::fromLatin1(fallback) : QString::fromStdString(text);
}

} // namespace

QString StudyTexts::patientName(const StudyIdentity& study) {
    return orFallback(study.trimmed().patientName, "Unnamed patient");
}

QString StudyTexts::studyInstanceUid(const StudyIdentity& study) {
    return orFallback(study.trimmed().studyInstanceUid, "UID unavailable");
}

QString StudyTexts::subtitle(const StudyIdentity& study, const std::string& modality) {
    const StudyIdentity shown = study.trimmed();
    return QStringLiteral("%1  ·  %2  ·  Study %3")
        .arg(
            orFallback(modality.empty() ? shown.modality : modality, "Unknown modality"),
            StudyRows::displayDate(QString::fromStdString(shown.studyDate)), studyInstanceUid(shown));
}

} // namespace zorbel
