#include "api/ZorbelApiClient.h"

#include <QJsonArray>

#include <algorithm>

namespace zorbel {

namespace {

/// An archive that takes longer to add up its files may as well begin to send them.
constexpr std::int32_t statisticsTimeoutMs = 3000;

QString text(const QJsonObject& object, const char* member) {
    return object.value(QLatin1String(member)).toString();
}

QString firstOf(const QString& preferred, const QString& otherwise) {
    return preferred.isEmpty() ? otherwise : preferred;
}

QStringList texts(const QJsonValue& array) {
    QStringList list;
    for (const QJsonValue& entry : array.toArray())
        list.append(entry.toString());
    return list;
}

/// Archive ids are opaque; encoded so that none of them can reach another path of the service.
QString pathSegment(const QString& id) {
    return QString::fromLatin1(QUrl::toPercentEncoding(id));
}

ViewerStudySummary readStudy(const QJsonObject& study) {
    ViewerStudySummary summary;
    summary.id = text(study, "id");
    summary.orthancId = text(study, "orthancId");
    summary.studyInstanceUID = text(study, "studyInstanceUID");
    summary.patientName = text(study.value(QLatin1String("patient")).toObject(), "fullName");
    summary.modality = firstOf(
        text(study, "modality"), study.value(QLatin1String("modalitiesInStudy")).toArray().at(0).toString());
    summary.studyDescription = text(study, "studyDescription");
    summary.bodyPart = firstOf(text(study, "bodyPartExamined"), text(study, "bodyPart"));
    summary.studyDate = text(study, "studyDate");
    summary.source = text(study, "source");
    return summary;
}

} // namespace

std::vector<ViewerStudySummary>
ZorbelApiClient::listStudies(const QString& search, int pageSize, const CancelFlag& cancel) const {
    QString path = QStringLiteral("/apps/pacs/api/studies?page=1&limit=%1").arg(std::clamp(pageSize, 1, 200));
    // QUrlQuery would leave a "+" as it is, which servers read as a blank.
    if (const QString wanted = search.trimmed(); !wanted.isEmpty())
        path += QStringLiteral("&search=") + QString::fromLatin1(QUrl::toPercentEncoding(wanted));
    const QByteArray body = authenticatedRequest(
        "GET", path, {}, {}, true, config_.requestTimeoutMs, config_.maximumResponseBytes, cancel);
    const QJsonObject reply = parseObject(body, QStringLiteral("Zorbel study list"));
    std::vector<ViewerStudySummary> studies;
    for (const QJsonValue& study : reply.value(QLatin1String("studies")).toArray())
        studies.push_back(readStudy(study.toObject()));
    return studies;
}

QStringList ZorbelApiClient::studySeriesIds(
    const ImageDataRoute& route, const QString& orthancStudyId, const CancelFlag& cancel) const {
    const QByteArray body = proxyGet(
        route, QStringLiteral("studies/") + pathSegment(orthancStudyId), config_.requestTimeoutMs,
        config_.maximumResponseBytes, cancel);
    const QJsonObject study = parseObject(body, QStringLiteral("Zorbel study metadata"));
    return texts(study.value(QLatin1String("Series")));
}

OrthancSeriesSummary ZorbelApiClient::seriesSummary(
    const ImageDataRoute& route, const QString& orthancSeriesId, const CancelFlag& cancel) const {
    const QByteArray body = proxyGet(
        route, QStringLiteral("series/") + pathSegment(orthancSeriesId), config_.requestTimeoutMs,
        config_.maximumResponseBytes, cancel);
    const QJsonObject series = parseObject(body, QStringLiteral("Zorbel series metadata"));
    const QJsonObject tags = series.value(QLatin1String("MainDicomTags")).toObject();
    OrthancSeriesSummary summary;
    summary.orthancId = orthancSeriesId;
    summary.seriesInstanceUID = text(tags, "SeriesInstanceUID");
    summary.modality = text(tags, "Modality");
    summary.seriesDescription = text(tags, "SeriesDescription");
    summary.protocolName = text(tags, "ProtocolName");
    summary.seriesNumber = text(tags, "SeriesNumber");
    summary.instanceIds = texts(series.value(QLatin1String("Instances")));
    return summary;
}

std::optional<std::uint64_t> ZorbelApiClient::seriesBytes(
    const ImageDataRoute& route, const QString& orthancSeriesId, const CancelFlag& cancel) const {
    try {
        const QByteArray body = proxyGet(
            route, QStringLiteral("series/") + pathSegment(orthancSeriesId) + QStringLiteral("/statistics"),
            std::min(config_.requestTimeoutMs, statisticsTimeoutMs), config_.maximumResponseBytes, cancel);
        const QJsonObject statistics = parseObject(body, QStringLiteral("Zorbel series metadata"));
        // Of the DICOM files alone where the archive tells that, else with what it keeps beside them.
        for (const char* member : {"DicomUncompressedSize", "UncompressedSize"}) {
            bool isNumber = false;
            const qulonglong bytes = text(statistics, member).toULongLong(&isNumber);
            if (isNumber)
                return bytes;
        }
    } catch (const ZorbelApiError&) {
        if (isCancelled(cancel))
            throw;
    }
    return std::nullopt;
}

QStringList ZorbelApiClient::seriesInstanceIds(
    const ImageDataRoute& route, const QString& orthancSeriesId, const CancelFlag& cancel) const {
    const QByteArray body = proxyGet(
        route, QStringLiteral("series/") + pathSegment(orthancSeriesId), config_.requestTimeoutMs,
        config_.maximumResponseBytes, cancel);
    const QJsonObject series = parseObject(body, QStringLiteral("Zorbel series instance list"));
    return texts(series.value(QLatin1String("Instances")));
}

} // namespace zorbel
