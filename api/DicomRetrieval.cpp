#include "api/HttpRequest.h"
#include "api/InstanceDownload.h"
#include "api/ObservedRequest.h"
#include "api/SeriesStream.h"
#include "api/ViewerSession.h"

#include <QNetworkRequest>

#include <stdexcept>

namespace zorbel {

namespace {

/// The route that `find` comes to; its failure counts as the download's cancelling where that was the cause.
template <typename Find>
ImageDataRoute routeUnlessCancelled(const CancelFlag& cancel, Find find) {
    try {
        return find();
    } catch (const std::exception&) {
        if (isCancelled(cancel))
            throw ZorbelApiError("DICOM download cancelled");
        throw;
    }
}

} // namespace

void ZorbelApiClient::DownloadInstances(
    const ImageDataRoute& route, const QStringList& instanceIds, const InstanceSink& sink,
    const CancelFlag& cancel, unsigned parallelism) const {
    if (!sink)
        throw std::invalid_argument("A DICOM download sink is required");
    const ImageDataRoute usable = routeUnlessCancelled(cancel, [&] { return usableRoute(route, cancel); });
    ApiClientConfig limits = config_;
    limits.transferTimeoutMs = routeTimeoutMs(usable, limits.transferTimeoutMs);
    try {
        observed(
            config_, pathWords(usable.prefix) + QStringLiteral("instances/…/file"), usable.isLocalNode,
            [&] { InstanceDownload(usable, limits, sink, cancel, parallelism).run(instanceIds); });
    } catch (const ZorbelApiError& error) {
        if (!isRefusedSession(usable, error))
            throw;
        renewedRoute(usable); // where there is one, the caller knows which instances are left
        throw sessionEnd(error);
    }
}

void ZorbelApiClient::DownloadInstances(
    const QStringList& instanceIds, const InstanceSink& sink, const CancelFlag& cancel,
    unsigned parallelism) const {
    const ImageDataRoute route = routeUnlessCancelled(cancel, [&] { return imageDataRoute(cancel); });
    DownloadInstances(route, instanceIds, sink, cancel, parallelism);
}

void ZorbelApiClient::StreamSeries(
    const ImageDataRoute& route, const QString& studyInstanceUid, const QString& seriesInstanceUid,
    const QStringList& expectedInstanceIds, const TransferProgress& progress, const CancelFlag& cancel,
    const PartSink& sink) const {
    if (studyInstanceUid.isEmpty() || seriesInstanceUid.isEmpty())
        throw std::invalid_argument("Streaming DICOMweb retrieval requires study and series UIDs");
    if (expectedInstanceIds.isEmpty() || !sink)
        throw std::invalid_argument("Streaming DICOMweb retrieval requires expected instances and a sink");
    const ImageDataRoute usable = routeUnlessCancelled(cancel, [&] { return usableRoute(route, cancel); });
    const QString url = usable.baseUrl + usable.prefix + QStringLiteral("dicom-web/studies/") +
                        QString::fromLatin1(QUrl::toPercentEncoding(studyInstanceUid)) +
                        QStringLiteral("/series/") +
                        QString::fromLatin1(QUrl::toPercentEncoding(seriesInstanceUid));
    overSession(usable, [&](const ImageDataRoute& current) {
        observed(
            config_, pathWords(current.prefix) + QStringLiteral("dicom-web/studies/…/series/…"),
            current.isLocalNode, [&] {
                SeriesStream(expectedInstanceIds, progress, cancel, sink, config_.maximumDicomBytes)
                    .run(dicomRequest(
                        QUrl(url), R"(multipart/related; type="application/dicom"; transfer-syntax=*)",
                        current.token, routeTimeoutMs(current, config_.transferTimeoutMs)));
            });
    });
}

void ZorbelApiClient::StreamSeries(
    const QString& studyInstanceUid, const QString& seriesInstanceUid, const QStringList& expectedInstanceIds,
    const TransferProgress& progress, const CancelFlag& cancel, const PartSink& sink) const {
    const ImageDataRoute route = routeUnlessCancelled(cancel, [&] { return imageDataRoute(cancel); });
    StreamSeries(route, studyInstanceUid, seriesInstanceUid, expectedInstanceIds, progress, cancel, sink);
}

} // namespace zorbel
