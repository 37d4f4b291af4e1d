#include "api/ZorbelApiClient.h"

#include "api/EndpointRule.h"
#include "api/HttpRequest.h"
#include "api/ObservedRequest.h"
#include "api/ServiceReply.h"
#include "api/SessionEvents.h"
#include "api/TokenExpiry.h"
#include "api/ViewerSession.h"

#include "app/log/Logger.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace zorbel {

namespace {

constexpr int auditTimeoutMs = 5000;

UserProfile readProfile(const QJsonObject& user) {
    const auto text = [&user](QLatin1String member) { return user.value(member).toString(); };
    UserProfile profile;
    profile.id = text(QLatin1String("id"));
    profile.email = text(QLatin1String("email"));
    profile.name = text(QLatin1String("name"));
    profile.role = text(QLatin1String("role"));
    profile.organizationId = text(QLatin1String("effectiveOrganizationId"));
    if (profile.organizationId.isEmpty())
        profile.organizationId = text(QLatin1String("organizationId"));
    profile.organizationName = text(QLatin1String("organizationName"));
    return profile;
}

} // namespace

ZorbelApiClient::ZorbelApiClient(ApiClientConfig config)
    : config_(std::move(config)), events_(std::make_unique<SessionEvents>()),
      session_(std::make_unique<ViewerSession>()) {
    while (config_.baseUrl.endsWith(QLatin1Char('/')))
        config_.baseUrl.chop(1);
    if (!isSecureEndpoint(QUrl(config_.baseUrl)))
        throw std::invalid_argument(
            "Zorbel API URL must use HTTPS (HTTP is allowed only for loopback development)");
}

ZorbelApiClient::~ZorbelApiClient() = default;

// ---- Requests
// ------------------------------------------------------------------------------------------------------

QByteArray ZorbelApiClient::request(
    const QByteArray& method, const QUrl& url, const QByteArray& body, const QByteArray& contentType,
    const QString& bearerToken, std::int32_t timeoutMs, std::uint64_t maxBytes,
    const CancelFlag& cancel) const {
    const bool atService = url.toString().startsWith(config_.baseUrl + QLatin1Char('/'));
    return observed(config_, pathWords(url.path()), !atService, [&] {
        return performHttpRequest({method, url, body, contentType, bearerToken, timeoutMs, maxBytes, cancel});
    });
}

QByteArray ZorbelApiClient::authenticatedRequest(
    const QByteArray& method, const QString& path, const QByteArray& body, const QByteArray& contentType,
    bool requireSession, std::int32_t timeoutMs, std::uint64_t maxBytes, const CancelFlag& cancel) const {
    const QUrl url(config_.baseUrl + path);
    if (!requireSession)
        return request(method, url, body, contentType, {}, timeoutMs, maxBytes, cancel);
    const ImageDataRoute session = cloudRoute();
    if (session.token.isEmpty())
        throw notAuthenticated();
    return overSession(session, [&](const ImageDataRoute& route) {
        return request(method, url, body, contentType, route.token, timeoutMs, maxBytes, cancel);
    });
}

bool ZorbelApiClient::isRefusedSession(const ImageDataRoute& route, const ZorbelApiError& error) {
    return error.status == 401 && !route.isLocalNode && !route.token.isEmpty();
}

std::optional<ImageDataRoute> ZorbelApiClient::renewedRoute(const ImageDataRoute& refused) const {
    {
        const std::lock_guard lock(mutex_);
        if (session_->signIn != refused.signIn)
            return std::nullopt; // of a session that was left
        if (session_->accessToken != refused.token)
            return cloudRouteLocked();
        if (std::exchange(session_->ended, true))
            return std::nullopt;
    }
    Logger::instance().info("Session", "The service ended the session");
    Q_EMIT events_->ended();
    return std::nullopt;
}

QByteArray ZorbelApiClient::proxyGet(
    const ImageDataRoute& route, const QString& path, std::int32_t timeoutMs, std::uint64_t maxBytes,
    const CancelFlag& cancel) const {
    return overSession(usableRoute(route, cancel), [&](const ImageDataRoute& usable) {
        return request(
            "GET", QUrl(usable.baseUrl + usable.prefix + path), {}, {}, usable.token,
            routeTimeoutMs(usable, timeoutMs), maxBytes, cancel);
    });
}

QByteArray ZorbelApiClient::proxyGet(
    const QString& path, std::int32_t timeoutMs, std::uint64_t maxBytes, const CancelFlag& cancel) const {
    return proxyGet(imageDataRoute(cancel), path, timeoutMs, maxBytes, cancel);
}

std::int32_t ZorbelApiClient::routeTimeoutMs(const ImageDataRoute& route, std::int32_t timeoutMs) const {
    const bool replaceable = route.isLocalNode && route.cloudMayServe;
    return replaceable ? std::min(timeoutMs, config_.localNodePatienceMs) : timeoutMs;
}

// ---- Session
// -------------------------------------------------------------------------------------------------------

LoginOutcome
ZorbelApiClient::signIn(const QString& email, const QString& password, const CancelFlag& cancel) {
    LoginOutcome outcome;
    try {
        const QByteArray credentials =
            compactJson({{QStringLiteral("email"), email.trimmed()}, {QStringLiteral("password"), password}});
        const QByteArray body = request(
            "POST", QUrl(config_.baseUrl + QStringLiteral("/api/auth/login")), credentials,
            "application/json", {}, config_.requestTimeoutMs, config_.maximumResponseBytes, cancel);
        const QJsonObject reply = parseObject(body, QStringLiteral("Zorbel login"));
        const QString token = reply.value(QLatin1String("token")).toString();
        const UserProfile profile = readProfile(reply.value(QLatin1String("user")).toObject());
        if (token.isEmpty() || profile.id.isEmpty())
            throw ZorbelApiError("Zorbel login response did not contain a valid session");
        if (profile.organizationId.isEmpty())
            throw ZorbelApiError("A clinical organization is required to use Zorbel Viewer");
        {
            const std::lock_guard lock(mutex_);
            session_->accessToken = token;
            session_->ended = false;
            ++session_->signIn;
            session_->profile = profile;
            session_->localNode.closeSession();
        }
        outcome.profile = validateSession(cancel);
        {
            const std::lock_guard lock(mutex_);
            session_->profile = outcome.profile;
        }
        const QByteArray firstPage = authenticatedRequest(
            "GET", QStringLiteral("/apps/pacs/api/studies?page=1"), {}, {}, true, config_.requestTimeoutMs,
            config_.maximumResponseBytes, cancel);
        parseObject(firstPage, QStringLiteral("Zorbel study list"));
        sendViewerAudit(QStringLiteral("SESSION_START"), {}, {}, cancel);
        if (isCancelled(cancel))
            throw ZorbelApiError("Zorbel API request cancelled");
        outcome.success = true;
    } catch (const std::exception& error) {
        signOut();
        outcome = {};
        outcome.errorMessage = QString::fromUtf8(error.what());
        if (const auto* failure = dynamic_cast<const ZorbelApiError*>(&error))
            outcome.advice = QString::fromStdString(failure->advice);
    }
    return outcome;
}

UserProfile ZorbelApiClient::validateSession(const CancelFlag& cancel) const {
    const QByteArray body = authenticatedRequest(
        "GET", QStringLiteral("/api/auth/me"), {}, {}, true, config_.requestTimeoutMs,
        config_.maximumResponseBytes, cancel);
    const QJsonObject reply = parseObject(body, QStringLiteral("Zorbel session validation"));
    UserProfile profile = readProfile(reply.value(QLatin1String("user")).toObject());
    if (profile.id.isEmpty() || profile.organizationId.isEmpty())
        throw ZorbelApiError("Zorbel session has no clinical organization scope", 403);
    return profile;
}

void ZorbelApiClient::signOut() {
    const std::lock_guard lock(mutex_);
    session_->accessToken.clear();
    session_->ended = false;
    ++session_->signIn;
    session_->profile = {};
    session_->localNode.nodeId.clear();
    session_->localNode.closeSession();
    session_->nodes.reset();
}

bool ZorbelApiClient::isSignedIn() const {
    const std::lock_guard lock(mutex_);
    return !session_->accessToken.isEmpty();
}

UserProfile ZorbelApiClient::profile() const {
    const std::lock_guard lock(mutex_);
    return session_->profile;
}

bool ZorbelApiClient::hasSessionEnded() const {
    const std::lock_guard lock(mutex_);
    return session_->ended;
}

bool ZorbelApiClient::adoptSession(const ZorbelApiClient& other) {
    QString token;
    UserProfile profile;
    {
        const std::lock_guard lock(other.mutex_);
        token = other.session_->accessToken;
        profile = other.session_->profile;
    }
    const std::lock_guard lock(mutex_);
    const UserProfile& own = session_->profile;
    if (token.isEmpty() || session_->accessToken.isEmpty() || config_.baseUrl != other.config_.baseUrl ||
        profile.id != own.id || profile.organizationId != own.organizationId)
        return false;
    session_->accessToken = token;
    session_->ended = false;
    session_->profile = profile;
    session_->localNode.expireSession();
    return true;
}

std::optional<std::int64_t> ZorbelApiClient::sessionExpiry() const {
    return tokenExpiry(cloudRoute().token);
}

bool ZorbelApiClient::sendViewerAudit(
    const QString& event, const QString& targetId, const QJsonObject& details,
    const CancelFlag& cancel) const {
    try {
        QJsonObject record{{QStringLiteral("event"), event}};
        if (const QString target = targetId.trimmed(); !target.isEmpty())
            record.insert(QStringLiteral("targetId"), target);
        if (!details.isEmpty())
            record.insert(QStringLiteral("details"), details);
        authenticatedRequest(
            "POST", QStringLiteral("/apps/pacs/api/viewer-audit"), compactJson(record), "application/json",
            true, std::min(config_.requestTimeoutMs, auditTimeoutMs), config_.maximumResponseBytes, cancel);
        return true;
    } catch (...) {
        return false;
    }
}

} // namespace zorbel
