#include "viewer/studies/StudyRows.h"

#include "cache/StudyClassification.h"

#include <QDate>
#include <QDateTime>
#include <QLocale>

#include <algorithm>

namespace zorbel {

namespace {

StudyClassification classify(const ViewerStudySummary& study) {
    return StudyClassification::classify(study.modality, study.studyDescription, study.bodyPart);
}

QDate parseDate(const QString& studyDate) {
    const QString text = studyDate.trimmed();
    const auto moment = QDateTime::fromString(text, Qt::ISODate);
    return moment.isValid() ? moment.date() : QDate::fromString(text, QStringLiteral("yyyyMMdd"));
}

} // namespace

QString StudyRows::displayDate(const QString& studyDate) {
    if (studyDate.trimmed().isEmpty())
        return QStringLiteral("Date unavailable");
    const QDate date = parseDate(studyDate);
    // The month's name must not follow the machine's language while the rest of the program is English.
    return date.isValid() ? QLocale::c().toString(date, QStringLiteral("dd MMM yyyy")) : studyDate.trimmed();
}

QString StudyRows::typeLabel(const ViewerStudySummary& study) {
    return classify(study).label();
}

QString StudyRows::text(const ViewerStudySummary& study) {
    const QString name = study.patientName.trimmed();
    return QStringLiteral("%1\n%2  |  %3")
        .arg(
            name.isEmpty() ? QStringLiteral("Unnamed patient") : name, displayDate(study.studyDate),
            typeLabel(study));
}

QString StudyRows::toolTip(const ViewerStudySummary& study) {
    const QString bodyPart = study.bodyPart.trimmed();
    return QStringLiteral("Study UID: %1\nStudy type: %2\nViewer mode: %3%4")
        .arg(
            study.studyInstanceUID, typeLabel(study),
            classify(study).isVolumetric() ? QStringLiteral("Viewer review") : QStringLiteral("2D review"),
            bodyPart.isEmpty() ? QString() : QStringLiteral("\nBody part: %1").arg(bodyPart));
}

void StudyRows::sortNewestFirst(std::vector<ViewerStudySummary>& studies) {
    std::stable_sort(studies.begin(), studies.end(), [](const auto& left, const auto& right) {
        return parseDate(left.studyDate) >
               parseDate(right.studyDate); // an invalid date is before every valid one
    });
}

bool StudyRows::matches(const ViewerStudySummary& study, const QString& search, const QString& type) {
    const QString label = typeLabel(study);
    if (!type.isEmpty() && type != label)
        return false;
    const QString searched =
        QStringList{study.patientName,      study.modality,  label,
                    study.studyDescription, study.studyDate, displayDate(study.studyDate),
                    study.studyInstanceUID}
            .join(QLatin1Char('\n'));
    const QStringList words = search.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    return std::all_of(words.begin(), words.end(), [&searched](const QString& word) {
        return searched.contains(word, Qt::CaseInsensitive);
    });
}

} // namespace zorbel
