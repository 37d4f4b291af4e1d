#include "report/StudyReportPacket.h"

#include "base/qt/QtText.h"
#include "viewer/reading/measurements/MeasurementValues.h"
#include "viewer/reading/study/StudyReading.h"

#include <QDate>
#include <QLocale>
#include <QStringList>

#include <map>

namespace zorbel {

namespace {

QString subtitleOf(const StudyIdentity& identity) {
    const StudyIdentity study = identity.trimmed();
    QStringList parts;
    for (const std::string& text : {study.modality, study.studyDescription}) {
        if (!text.empty())
            parts.append(qtText(text));
    }
    const QDate date = QDate::fromString(qtText(study.studyDate), QStringLiteral("yyyyMMdd"));
    if (date.isValid()) // as in the viewer, and the same for every reader of the report
        parts.append(date.toString(Qt::ISODate));
    return parts.join(QStringLiteral(" · "));
}

/// The reader's own name, or which of its kind it is.
QString nameOf(const Measurement& measurement, int number) {
    if (!measurement.label.empty())
        return qtText(measurement.label);
    return QStringLiteral("%1 %2").arg(qtText(measurementTitle(measurement.kind))).arg(number);
}

QString valueOf(const Measurement& measurement) {
    if (!measurement.value.empty())
        return qtText(measurement.value);
    return qtText(MeasurementValues::of(measurement, nullptr).lineLabel()); // never read with its voxels
}

} // namespace

std::vector<KeyImage> imagesForReport(const StudyReading& reading) {
    std::vector<KeyImage> images;
    for (const KeyImage& image : reading.keyImages().images()) {
        if (image.inReport)
            images.push_back(image);
    }
    return images;
}

ReportPacket reportPacketOf(const StudyReading& reading, const std::vector<KeyImagePng>& pictures) {
    ReportPacket packet;
    packet.tableGrids = true; // whoever opens it
    packet.title = QStringLiteral("Imaging findings");
    packet.subtitle = subtitleOf(reading.identity());
    for (const Finding& finding : reading.findings().findings())
        packet.findings.push_back(
            {qtText(finding.siteLabel()), qtText(finding.categoryLabel()), qtText(finding.note)});
    std::map<MeasurementKind, int> numbers;
    for (const Measurement& measurement : reading.measurements().measurements())
        packet.measurements.push_back(
            {nameOf(measurement, ++numbers[measurement.kind]), valueOf(measurement),
             qtText(measurementViewName(measurement))});
    for (const auto& [image, png] : pictures) {
        if (png)
            packet.keyImages.push_back(
                {qtText(image.fileName), qtText(image.caption), QByteArray::fromStdString(*png), image.width,
                 image.height});
    }
    return packet;
}

void keepValuesLeftToRight(ReportPacket& packet) {
    constexpr QChar leftToRightMark(0x200e);
    for (ReportPacket::Measurement& measurement : packet.measurements)
        measurement.value = leftToRightMark + measurement.value + leftToRightMark;
}

} // namespace zorbel
