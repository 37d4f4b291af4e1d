#include "api/HttpRequest.h"
#include "api/InstanceDownload.h"
#include "api/SeriesStream.h"

#include <QNetworkRequest>

#include <stdexcept>

namespace zorbel {

namespace {

ImageDataRoute authenticatedRoute(const ZorbelApiClient& client, const CancelFlag& cancel) {
    try {
        ImageDataRoute route = client.imageDataRoute(cancel);
        if (route.token.isEmpty())
            throw ZorbelApiError("Zorbel viewer session is not authenticated", 401);
        return route;
    } catch (const std::exception&) {
        if (isCancelled(cancel))
            throw ZorbelApiError("DICOM download cancelled");
        throw;
    }
}

} // namespace

void ZorbelApiClient::DownloadInstances(
    const QStringList& instanceIds, const InstanceSink& sink, const CancelFlag& cancel,
    unsigned parallelism) const {
    if (!sink)
        throw std::invalid_argument("A DICOM download sink is required");
    const ImageDataRoute route = authenticatedRoute(*this, cancel);
    ApiClientConfig limits = config_;
    limits.transferTimeoutMs = routeTimeoutMs(route, limits.transferTimeoutMs);
    InstanceDownload(route, limits, sink, cancel, parallelism).run(instanceIds);
}

void ZorbelApiClient::StreamSeries(
    const QString& studyInstanceUid, const QString& seriesInstanceUid, const QStringList& expectedInstanceIds,
    const TransferProgress& progress, const CancelFlag& cancel, const PartSink& sink) const {
    if (studyInstanceUid.isEmpty() || seriesInstanceUid.isEmpty())
        throw std::invalid_argument("Streaming DICOMweb retrieval requires study and series UIDs");
    if (expectedInstanceIds.isEmpty() || !sink)
        throw std::invalid_argument("Streaming DICOMweb retrieval requires expected instances and a sink");
    const ImageDataRoute route = authenticatedRoute(*this, cancel);
    const QString url = route.baseUrl + route.prefix + QStringLiteral("dicom-web/studies/") +
                        QString::fromLatin1(QUrl::toPercentEncoding(studyInstanceUid)) +
                        QStringLiteral("/series/") +
                        QString::fromLatin1(QUrl::toPercentEncoding(seriesInstanceUid));
    SeriesStream(expectedInstanceIds, progress, cancel, sink, config_.maximumDicomBytes)
        .run(dicomRequest(
            QUrl(url), R"(multipart/related; type="application/dicom"; transfer-syntax=*)", route.token,
            routeTimeoutMs(route, config_.transferTimeoutMs)));
}

} // namespace zorbel
