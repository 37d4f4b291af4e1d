#include "viewer/views/OverlayTexts.h"

#include "viewer/reading/display/WindowPresets.h"
#include "viewer/studies/StudyRows.h"
#include "viewer/studies/StudyTexts.h"

#include <cmath>

namespace zorbel {

QStringList OverlayTexts::patient(const StudyIdentity& study, const imaging::ImageMetadata& metadata) {
    const QString own = QString::fromStdString(metadata.patientName).trimmed();
    QStringList lines{own.isEmpty() ? StudyTexts::patientName(study) : own};
    const std::string& date = metadata.studyDate.empty() ? study.studyDate : metadata.studyDate;
    if (!date.empty())
        lines += StudyRows::displayDate(QString::fromStdString(date));
    const QString series = QString::fromStdString(metadata.seriesDescription).trimmed();
    if (!series.isEmpty())
        lines += series;
    return lines;
}

QString OverlayTexts::window(const imaging::LevelWindow& window, const imaging::ImageMetadata& metadata) {
    const QString text = QString::fromStdString(windowText(window));
    return metadata.hounsfieldUnits ? text + QStringLiteral("  HU") : text;
}

QStringList OverlayTexts::notes(const imaging::ImageMetadata& metadata, double tiltDegrees) {
    QStringList lines;
    constexpr double noticeableTilt = 0.05;
    if (std::abs(tiltDegrees) > noticeableTilt)
        lines += QStringLiteral("Gantry tilt %1°").arg(std::abs(tiltDegrees), 0, 'f', 1);
    if (metadata.lossy)
        lines += QStringLiteral("Lossy compression");
    return lines;
}

} // namespace zorbel
