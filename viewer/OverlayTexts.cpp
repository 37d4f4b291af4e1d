#include "viewer/OverlayTexts.h"

#include "viewer/StudyRows.h"

#include <cmath>

namespace zorbel {

namespace {

QString number(double value) {
    const bool fine = std::abs(value) < 10.0 && value != std::floor(value);
    return QString::number(value, 'f', fine ? 2 : 0);
}

} // namespace

QStringList OverlayTexts::patient(const imaging::ImageMetadata& metadata) {
    const QString name = QString::fromStdString(metadata.patientName).trimmed();
    QStringList lines{name.isEmpty() ? QStringLiteral("Unnamed patient") : name};
    if (!metadata.studyDate.empty())
        lines += StudyRows::displayDate(QString::fromStdString(metadata.studyDate));
    const QString series = QString::fromStdString(metadata.seriesDescription).trimmed();
    if (!series.isEmpty())
        lines += series;
    return lines;
}

QString OverlayTexts::window(const imaging::LevelWindow& window) {
    return QStringLiteral("W: %1  L: %2").arg(number(window.width), number(window.center));
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
