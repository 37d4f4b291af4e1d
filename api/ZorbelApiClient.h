#pragma once

#include "api/ApiClientConfig.h"
#include "api/ImageDataRoute.h"
#include "api/StudyRecords.h"
#include "api/UserProfile.h"
#include "api/ZorbelApiError.h"
#include "base/CancelFlag.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace zorbel {

class SessionEvents;

/// Where a study's images may come from. The values are stored in settings.
enum class SourceKind { Automatic = 0, CloudOnly = 1, LocalNodeRequired = 2 };

/// The one client of the service's REST API and of Local Nodes. Calls are synchronous and may come from any
/// thread; each runs its own network manager and event loop on the calling thread. One mutex guards the
/// session and is never held across network traffic. Failures are thrown as ZorbelApiError unless a call says
/// otherwise; a failed call leaves the session as it was.
class ZorbelApiClient {
public:
    /// Throws std::invalid_argument when the base URL is neither HTTPS nor HTTP to a loopback host.
    explicit ZorbelApiClient(ApiClientConfig config);
    ~ZorbelApiClient();

    const ApiClientConfig& config() const { return config_; }

    // ---- Session
    // -------------------------------------------------------------------------------------------------
    /// Never throws; on failure the client is signed out. The cancel flag ends a running sign-in.
    LoginOutcome signIn(const QString& email, const QString& password, const CancelFlag& cancel = {});
    /// The server's view of the session's profile.
    UserProfile validateSession(const CancelFlag& cancel = {}) const;
    void signOut();
    bool isSignedIn() const;
    UserProfile profile() const;
    /// The service refused the session's token. The session stays as it is until it is renewed.
    bool hasSessionEnded() const;
    SessionEvents& sessionEvents() const { return *events_; }
    /// Goes on with the session that the same user opened with another client, whatever was chosen and begun
    /// before. False, and nothing changes, where that is another user's or organization's, or either client
    /// is signed out.
    bool adoptSession(const ZorbelApiClient& other);
    /// When the session's token says that it ends, seconds since the Unix epoch.
    std::optional<std::int64_t> sessionExpiry() const;
    /// Seconds since the Unix epoch, by the configuration's clock.
    std::int64_t now() const;
    /// "Zorbel Cloud" or "Local Node": where requests that name no route go.
    QString sourceLabel() const;
    /// True on success, false on any failure; never throws.
    bool sendViewerAudit(
        const QString& event, const QString& targetId = {}, const QJsonObject& details = {},
        const CancelFlag& cancel = {}) const;

    // ---- Study list and archive metadata
    // -------------------------------------------------------------------------
    // What names a route goes that way, whatever route other requests take; the others go by
    // imageDataRoute().
    std::vector<ViewerStudySummary>
    listStudies(const QString& search, int pageSize, const CancelFlag& cancel = {}) const;
    /// Ids of a study's series.
    QStringList studySeriesIds(
        const ImageDataRoute& route, const QString& orthancStudyId, const CancelFlag& cancel = {}) const;
    OrthancSeriesSummary seriesSummary(
        const ImageDataRoute& route, const QString& orthancSeriesId, const CancelFlag& cancel = {}) const;
    /// How much the series' files hold together; nothing where the archive does not tell. Throws only when
    /// the flag cancels it.
    std::optional<std::uint64_t> seriesBytes(
        const ImageDataRoute& route, const QString& orthancSeriesId, const CancelFlag& cancel = {}) const;
    /// The series' instance ids as they are now, in the archive's order.
    QStringList seriesInstanceIds(
        const ImageDataRoute& route, const QString& orthancSeriesId, const CancelFlag& cancel = {}) const;

    // ---- Local Nodes
    // ----------------------------------------------------------------------------------------------------
    /// The organization's nodes; also remembered for resolveStudyOnLocalNode() until sign-out.
    std::vector<LocalNodeEntry> listLocalNodes(const CancelFlag& cancel = {});
    void saveLocalNode(const QString& nodeId, const QString& baseUrl, const CancelFlag& cancel = {}) const;
    /// Where image data comes from until the next call; what was opened on another node is given up, also by
    /// calls that are still under way.
    void selectSource(SourceKind kind, const QString& nodeId);
    SourceKind sourceKind() const;
    /// The id given to selectSource(); empty after sign-out.
    QString selectedLocalNode() const;
    /// Opens a session on the selected node, or renews it. On failure nothing of it is kept.
    void openLocalNodeSession(const CancelFlag& cancel = {});
    /// Whether a session can be opened on the node: throws like openLocalNodeSession(), and keeps nothing.
    void checkLocalNode(const QString& nodeId, const CancelFlag& cancel = {}) const;
    /// Where a study's images are to come from, for a load that carries its route along. Throws where only
    /// the node is allowed and cannot serve the study, and when the flag cancels it. In the automatic mode
    /// only a node that listLocalNodes() has told of is asked, and one that failed is left alone for a
    /// minute; a node that merely does not hold the study has not failed.
    StudyRoute routeForStudy(const QString& studyInstanceUid, const CancelFlag& cancel = {});
    /// As routeForStudy(), for requests that name no route of their own: the node's own id of the study,
    /// which from now on is read from there; empty: read it from the cloud.
    QString resolveStudyOnLocalNode(const QString& studyInstanceUid, const CancelFlag& cancel = {});
    /// The node failed in the middle of a study: it is left alone for a minute. False, and nothing changes,
    /// when the route is not a node's or the cloud may not serve instead.
    bool abandonLocalNode(const ImageDataRoute& route);

    // ---- DICOM retrieval
    // -----------------------------------------------------------------------------------------
    /// (instance id, bytes, completed so far, total), on the calling thread in completion order.
    using InstanceSink = std::function<void(
        const QString& instanceId, std::vector<std::byte> bytes, std::size_t completed, std::size_t total)>;
    /// (expected instance id, part body valid during the call, 1-based ordinal, expected total). The id is
    /// that of the same position in expectedInstanceIds: whether the part holds that instance is the caller's
    /// to check.
    using PartSink = std::function<void(
        const QString& instanceId, const std::byte* data, std::size_t length, std::size_t ordinal,
        std::size_t total)>;
    /// (bytes received, bytes total or -1).
    using TransferProgress = std::function<void(std::int64_t received, std::int64_t total)>;

    /// Fetches instances one file each, `parallelism` (clamped to 1..16) at a time.
    void DownloadInstances(
        const ImageDataRoute& route, const QStringList& instanceIds, const InstanceSink& sink,
        const CancelFlag& cancel, unsigned parallelism) const;
    void DownloadInstances(
        const QStringList& instanceIds, const InstanceSink& sink, const CancelFlag& cancel,
        unsigned parallelism) const;
    /// Fetches a whole series in one multipart response and hands on each part as soon as it is complete;
    /// holds about one instance in memory.
    void StreamSeries(
        const ImageDataRoute& route, const QString& studyInstanceUid, const QString& seriesInstanceUid,
        const QStringList& expectedInstanceIds, const TransferProgress& progress, const CancelFlag& cancel,
        const PartSink& sink) const;
    void StreamSeries(
        const QString& studyInstanceUid, const QString& seriesInstanceUid,
        const QStringList& expectedInstanceIds, const TransferProgress& progress, const CancelFlag& cancel,
        const PartSink& sink) const;

    // ---- Building blocks of the endpoints
    // ------------------------------------------------------------------------
    /// One HTTP request; returns the body.
    QByteArray request(
        const QByteArray& method, const QUrl& url, const QByteArray& body, const QByteArray& contentType,
        const QString& bearerToken, std::int32_t timeoutMs, std::uint64_t maxBytes,
        const CancelFlag& cancel = {}) const;
    QByteArray authenticatedRequest(
        const QByteArray& method, const QString& path, const QByteArray& body, const QByteArray& contentType,
        bool requireSession, std::int32_t timeoutMs, std::uint64_t maxBytes,
        const CancelFlag& cancel = {}) const;
    /// GET through an image-data route; the second form through that of requests that name none.
    QByteArray proxyGet(
        const ImageDataRoute& route, const QString& path, std::int32_t timeoutMs, std::uint64_t maxBytes,
        const CancelFlag& cancel = {}) const;
    QByteArray proxyGet(
        const QString& path, std::int32_t timeoutMs, std::uint64_t maxBytes,
        const CancelFlag& cancel = {}) const;
    /// The route of requests that name none: the cloud's until resolveStudyOnLocalNode() finds a study at a
    /// node. Renews a Local Node session that has run out; throws when that fails.
    ImageDataRoute imageDataRoute(const CancelFlag& cancel = {}) const;
    ImageDataRoute cloudRoute() const;
    /// context: a short label such as "Zorbel login", part of the message on failure.
    static QJsonObject parseObject(const QByteArray& body, const QString& context);
    static QString errorCode(const QByteArray& body);
    static QString errorMessage(const QByteArray& body, const QString& fallback);

private:
    struct ViewerSession;
    struct NodeOpening;

    /// The time limit for a request of image data by this route.
    std::int32_t routeTimeoutMs(const ImageDataRoute& route, std::int32_t timeoutMs) const;
    /// The route as it can be used now, a node's with a session that has not run out. Throws.
    ImageDataRoute usableRoute(const ImageDataRoute& route, const CancelFlag& cancel) const;
    /// That of the session on the node, and the cloud's; the lock is held.
    ImageDataRoute nodeRoute() const;
    ImageDataRoute cloudRouteLocked() const;

    /// Runs call(route), and again where the service refused a token that the session has replaced meanwhile.
    /// An end of the session is told and thrown as such.
    template <typename Call>
    auto overSession(ImageDataRoute route, const Call& call) const;
    static bool isRefusedSession(const ImageDataRoute& route, const ZorbelApiError& error);
    /// The route with the token that took the place of the refused one; without one the session has ended.
    std::optional<ImageDataRoute> renewedRoute(const ImageDataRoute& refused) const;

    NodeOpening
    openNode(const QString& nodeId, const QString& organizationId, const CancelFlag& cancel) const;
    ImageDataRoute renewLocalNodeSession(const CancelFlag& cancel) const;
    StudyRoute findOnLocalNode(const QString& studyInstanceUid, const CancelFlag& cancel) const;
    QString askLocalNode(
        const ImageDataRoute& route, const QString& studyInstanceUid, const CancelFlag& cancel) const;
    /// Closes the session of that choice of a node and leaves the node alone for a minute.
    void giveUpNode(std::uint64_t generation);

    ApiClientConfig config_;
    const std::unique_ptr<SessionEvents> events_;
    mutable std::mutex mutex_;
    std::unique_ptr<ViewerSession> session_; ///< guarded by mutex_
};

} // namespace zorbel
