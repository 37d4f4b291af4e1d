#include "api/LogReason.h"
#include "api/ServiceReply.h"
#include "api/ViewerSession.h"
#include "app/log/Logger.h"

#include <QJsonArray>

#include <algorithm>
#include <chrono>
#include <optional>

namespace zorbel {

namespace {

constexpr std::int64_t retryPauseSeconds = 60;
constexpr std::int64_t renewalLeadSeconds = 30;
constexpr std::int64_t shortestSessionSeconds = 15;
constexpr std::int64_t usualSessionSeconds = 600;
// No session lasts longer, whatever the service says; keeps the sum with the present time in range.
constexpr std::int64_t longestSessionSeconds = 366LL * 24 * 3600;
constexpr std::int32_t identityTimeoutMs = 5000;
constexpr std::int32_t resolutionTimeoutMs = 8000;

/// The node answered, and it does not hold the study.
class StudyNotOnNode : public ZorbelApiError {
public:
    StudyNotOnNode() : ZorbelApiError("Study is not available on the Local Node") {}
};

ZorbelApiError selectionChanged() {
    return ZorbelApiError("The Local Node selection has changed");
}

LocalNodeEntry readNode(const QJsonObject& object) {
    const auto text = [&object](QLatin1String member) { return object.value(member).toString(); };
    return {
        text(QLatin1String("clinicId")), text(QLatin1String("name")), text(QLatin1String("baseUrl")),
        text(QLatin1String("status")), text(QLatin1String("appVersion"))};
}

/// Without slashes at its end; empty unless paths and queries can be joined to it and the token is safe from
/// ending up in it. A node in the clinic's own network may speak plain HTTP.
QString usableNodeUrl(QString text) {
    text = text.trimmed();
    while (text.endsWith(QLatin1Char('/')))
        text.chop(1);
    const QUrl url(text, QUrl::StrictMode);
    const bool web = url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
    const bool plain = url.userInfo().isEmpty() && !url.hasQuery() && !url.hasFragment();
    return url.isValid() && web && plain && !url.host().isEmpty() ? text : QString();
}

std::int64_t expiryOf(const QJsonObject& session, std::int64_t now) {
    const std::int64_t told = session.value(QLatin1String("expiresInSeconds")).toInteger(usualSessionSeconds);
    const std::int64_t seconds = std::clamp(told, renewalLeadSeconds, longestSessionSeconds);
    return now + std::max(seconds - renewalLeadSeconds, shortestSessionSeconds);
}

} // namespace

std::int64_t ZorbelApiClient::now() const {
    if (config_.clock)
        return config_.clock();
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::seconds>(sinceEpoch).count();
}

// ---- Choice of the source
// ------------------------------------------------------------------------------------------

std::vector<LocalNodeEntry> ZorbelApiClient::listLocalNodes(const CancelFlag& cancel) {
    const std::uint64_t signIn = cloudRoute().signIn;
    const QByteArray body = authenticatedRequest(
        "GET", QStringLiteral("/apps/pacs/api/desktop/local-nodes"), {}, {}, true, config_.requestTimeoutMs,
        config_.maximumResponseBytes, cancel);
    const QJsonObject reply = parseObject(body, QStringLiteral("Zorbel local node list"));
    std::vector<LocalNodeEntry> entries;
    auto nodes = std::make_shared<QHash<QString, LocalNodeEntry>>();
    for (const QJsonValue& value : reply.value(QLatin1String("nodes")).toArray()) {
        entries.push_back(readNode(value.toObject()));
        nodes->insert(entries.back().clinicId.trimmed(), entries.back());
    }
    const std::lock_guard lock(mutex_);
    // After a sign-out meanwhile this is another session's list.
    if (session_->signIn == signIn)
        session_->nodes = std::move(nodes);
    return entries;
}

void ZorbelApiClient::saveLocalNode(
    const QString& nodeId, const QString& baseUrl, const CancelFlag& cancel) const {
    authenticatedRequest(
        "POST", QStringLiteral("/apps/pacs/api/desktop/local-nodes"),
        compactJson({{QStringLiteral("clinicId"), nodeId}, {QStringLiteral("baseUrl"), baseUrl}}),
        "application/json", true, config_.requestTimeoutMs, config_.maximumResponseBytes, cancel);
}

void ZorbelApiClient::selectSource(SourceKind kind, const QString& nodeId) {
    const std::lock_guard lock(mutex_);
    session_->localNode.sourceKind = kind;
    session_->localNode.nodeId = nodeId.trimmed();
    session_->localNode.closeSession();
}

SourceKind ZorbelApiClient::sourceKind() const {
    const std::lock_guard lock(mutex_);
    return session_->localNode.sourceKind;
}

QString ZorbelApiClient::selectedLocalNode() const {
    const std::lock_guard lock(mutex_);
    return session_->localNode.nodeId;
}

QString ZorbelApiClient::sourceLabel() const {
    const std::lock_guard lock(mutex_);
    return (session_->localNode.sessionActive ? nodeRoute() : cloudRouteLocked()).sourceLabel();
}

// ---- Session on the node
// -------------------------------------------------------------------------------------------

struct ZorbelApiClient::NodeOpening {
    QString baseUrl;
    QString token;
    std::int64_t expiry = 0;
};

void ZorbelApiClient::openLocalNodeSession(const CancelFlag& cancel) {
    renewLocalNodeSession(cancel);
}

void ZorbelApiClient::checkLocalNode(const QString& nodeId, const CancelFlag& cancel) const {
    openNode(nodeId.trimmed(), profile().organizationId, cancel);
}

ZorbelApiClient::NodeOpening ZorbelApiClient::openNode(
    const QString& nodeId, const QString& organizationId, const CancelFlag& cancel) const {
    if (nodeId.isEmpty())
        throw ZorbelApiError("Select a Zorbel Local Node first");
    const QByteArray sessionBody = authenticatedRequest(
        "POST", QStringLiteral("/apps/pacs/api/desktop/local-nodes/session"),
        compactJson({{QStringLiteral("clinicId"), nodeId}}), "application/json", true,
        config_.requestTimeoutMs, config_.maximumResponseBytes, cancel);
    const QJsonObject session = parseObject(sessionBody, QStringLiteral("Zorbel local node session"));
    const QString baseUrl = usableNodeUrl(session.value(QLatin1String("baseUrl")).toString());
    const QString token = session.value(QLatin1String("token")).toString();
    if (baseUrl.isEmpty() || token.isEmpty())
        throw ZorbelApiError("Zorbel local node session is incomplete");

    const QByteArray identityBody = request(
        "GET", QUrl(baseUrl + QStringLiteral("/api/local-node/desktop/identity")), {}, {}, token,
        std::min(config_.requestTimeoutMs, identityTimeoutMs), config_.maximumResponseBytes, cancel);
    const QJsonObject identity = parseObject(identityBody, QStringLiteral("Zorbel local node identity"));
    if (identity.value(QLatin1String("organizationId")).toString() != organizationId)
        throw ZorbelApiError("Local Node belongs to a different Zorbel organization");

    return {baseUrl, token, expiryOf(session, now())};
}

ImageDataRoute ZorbelApiClient::renewLocalNodeSession(const CancelFlag& cancel) const {
    QString nodeId;
    QString organizationId;
    std::uint64_t generation = 0;
    {
        const std::lock_guard lock(mutex_);
        nodeId = session_->localNode.nodeId;
        organizationId = session_->profile.organizationId;
        generation = session_->localNode.generation;
    }
    const NodeOpening opened = openNode(nodeId, organizationId, cancel);
    const std::lock_guard lock(mutex_);
    LocalNodeSelection& node = session_->localNode;
    if (node.generation != generation)
        throw selectionChanged();
    node.baseUrl = opened.baseUrl;
    node.token = opened.token;
    node.sessionExpiry = opened.expiry;
    node.retryAfter = 0;
    return nodeRoute();
}

// ---- Routes
// --------------------------------------------------------------------------------------------------------

ImageDataRoute ZorbelApiClient::nodeRoute() const {
    const LocalNodeSelection& node = session_->localNode;
    return {
        node.baseUrl,
        QStringLiteral("/api/local-node/desktop/viewer-proxy/"),
        node.token,
        true,
        node.sourceKind == SourceKind::Automatic,
        node.sessionExpiry,
        node.generation,
        session_->signIn};
}

ImageDataRoute ZorbelApiClient::cloudRouteLocked() const {
    ImageDataRoute route;
    route.baseUrl = config_.baseUrl;
    route.prefix = QStringLiteral("/apps/pacs/api/viewer-proxy/");
    route.token = session_->accessToken;
    route.signIn = session_->signIn;
    return route;
}

ImageDataRoute ZorbelApiClient::cloudRoute() const {
    const std::lock_guard lock(mutex_);
    return cloudRouteLocked();
}

ImageDataRoute ZorbelApiClient::usableRoute(const ImageDataRoute& route, const CancelFlag& cancel) const {
    const std::int64_t present = now();
    {
        const std::lock_guard lock(mutex_);
        const LocalNodeSelection& node = session_->localNode;
        if (session_->accessToken.isEmpty() || route.signIn != session_->signIn)
            throw notAuthenticated();
        if (!route.isLocalNode)
            return cloudRouteLocked(); // the session may have been renewed
        if (route.expiry > present)
            return route;
        if (route.selection != node.generation)
            throw selectionChanged();
        if (node.isOpen(present))
            return nodeRoute();
    }
    return renewLocalNodeSession(cancel);
}

ImageDataRoute ZorbelApiClient::imageDataRoute(const CancelFlag& cancel) const {
    ImageDataRoute route;
    {
        const std::lock_guard lock(mutex_);
        if (!session_->localNode.sessionActive)
            return cloudRouteLocked();
        route = nodeRoute();
    }
    try {
        return usableRoute(route, cancel);
    } catch (...) {
        const std::lock_guard lock(mutex_);
        // A session that was given up meanwhile needs no renewal.
        if (session_->localNode.generation == route.selection)
            throw;
        return cloudRouteLocked();
    }
}

// ---- Studies on the node
// -------------------------------------------------------------------------------------------

StudyRoute ZorbelApiClient::findOnLocalNode(const QString& studyInstanceUid, const CancelFlag& cancel) const {
    if (studyInstanceUid.isEmpty())
        throw StudyNotOnNode();
    const std::int64_t present = now();
    std::optional<ImageDataRoute> open;
    {
        const std::lock_guard lock(mutex_);
        if (session_->localNode.isOpen(present))
            open = nodeRoute();
    }
    if (open) {
        try {
            return {*open, askLocalNode(*open, studyInstanceUid, cancel)};
        } catch (const ZorbelApiError& error) {
            // A node that was restarted does not know the session any more.
            if (error.status != 401)
                throw;
        }
    }
    const ImageDataRoute renewed = renewLocalNodeSession(cancel);
    return {renewed, askLocalNode(renewed, studyInstanceUid, cancel)};
}

QString ZorbelApiClient::askLocalNode(
    const ImageDataRoute& route, const QString& studyInstanceUid, const CancelFlag& cancel) const {
    const QString url = route.baseUrl +
                        QStringLiteral("/api/local-node/desktop/resolve-study?studyInstanceUID=") +
                        QString::fromLatin1(QUrl::toPercentEncoding(studyInstanceUid));
    QByteArray body;
    try {
        body = request(
            "GET", QUrl(url), {}, {}, route.token, std::min(config_.requestTimeoutMs, resolutionTimeoutMs),
            config_.maximumResponseBytes, cancel);
    } catch (const ZorbelApiError& error) {
        if (error.status == 404)
            throw StudyNotOnNode();
        throw;
    }
    const QJsonObject reply = parseObject(body, QStringLiteral("Zorbel local study resolution"));
    const QString id = reply.value(QLatin1String("orthancId")).toString();
    if (id.isEmpty())
        throw StudyNotOnNode();
    return id;
}

StudyRoute ZorbelApiClient::routeForStudy(const QString& studyInstanceUid, const CancelFlag& cancel) {
    const std::int64_t present = now();
    SourceKind kind = SourceKind::Automatic;
    std::uint64_t generation = 0;
    {
        const std::lock_guard lock(mutex_);
        const LocalNodeSelection& node = session_->localNode;
        kind = node.sourceKind;
        generation = node.generation;
        const bool listed =
            session_->nodes && !session_->nodes->value(node.nodeId).baseUrl.trimmed().isEmpty();
        if (kind == SourceKind::CloudOnly ||
            (kind == SourceKind::Automatic &&
             (node.retryAfter > present || node.nodeId.isEmpty() || !listed)))
            return {cloudRouteLocked(), {}};
    }

    bool nodeFailed = true;
    try {
        const StudyRoute found = findOnLocalNode(studyInstanceUid, cancel);
        const std::lock_guard lock(mutex_);
        if (session_->localNode.generation != generation)
            throw selectionChanged();
        return found;
    } catch (const StudyNotOnNode&) {
        nodeFailed = false;
        Logger::instance().info("LocalNode", "The study is not on the Local Node");
    } catch (const std::exception& error) {
        if (isCancelled(cancel) || isSessionEnd(error))
            throw;
        Logger::instance().warn(
            "LocalNode", "The Local Node did not serve the study", {{"reason", logReason(error)}});
    }
    if (nodeFailed)
        giveUpNode(generation);
    if (kind == SourceKind::LocalNodeRequired)
        throw ZorbelApiError("The selected study cannot be resolved on the Local Node");
    return {cloudRoute(), {}};
}

QString ZorbelApiClient::resolveStudyOnLocalNode(const QString& studyInstanceUid, const CancelFlag& cancel) {
    {
        const std::lock_guard lock(mutex_);
        session_->localNode.sessionActive = false;
    }
    const StudyRoute found = routeForStudy(studyInstanceUid, cancel);
    if (!found.route.isLocalNode)
        return {};
    const std::lock_guard lock(mutex_);
    if (session_->localNode.generation != found.route.selection)
        throw selectionChanged();
    session_->localNode.sessionActive = true;
    return found.studyId;
}

void ZorbelApiClient::giveUpNode(std::uint64_t generation) {
    const std::int64_t retryAfter = now() + retryPauseSeconds;
    const std::lock_guard lock(mutex_);
    LocalNodeSelection& node = session_->localNode;
    if (node.generation != generation)
        return;
    // The node may have moved; the next attempt asks the service where to.
    node.closeSession();
    if (node.sourceKind == SourceKind::Automatic)
        node.retryAfter = retryAfter;
}

bool ZorbelApiClient::abandonLocalNode(const ImageDataRoute& route) {
    if (!route.isLocalNode || !route.cloudMayServe)
        return false;
    giveUpNode(route.selection);
    return true;
}

} // namespace zorbel
