#pragma once

#include "api/ServiceReply.h"
#include "api/UserProfile.h"
#include "api/ZorbelApiClient.h"

#include <QHash>

namespace zorbel {

/// The clinic's on-site archive the user chose, and the short session opened on it. Times are seconds since
/// the Unix epoch.
struct LocalNodeSelection {
    SourceKind sourceKind = SourceKind::Automatic;
    QString nodeId;
    QString baseUrl;
    QString token;
    std::int64_t sessionExpiry = 0;
    std::int64_t retryAfter = 0;
    bool sessionActive = false; ///< requests that name no route of their own go to the node
    /// Raised by whatever gives up the session, so that a call that began before does not bring it back.
    std::uint64_t generation = 0;

    bool isOpen(std::int64_t now) const {
        return !baseUrl.isEmpty() && !token.isEmpty() && sessionExpiry > now;
    }

    /// What is opened from now on asks the service for a session on the node; what is under way stays.
    void expireSession() {
        sessionExpiry = 0;
        retryAfter = 0;
    }

    /// Back to the cloud; the choice of node stays.
    void closeSession() {
        baseUrl.clear();
        token.clear();
        sessionExpiry = 0;
        retryAfter = 0;
        sessionActive = false;
        ++generation;
    }
};

struct ZorbelApiClient::ViewerSession {
    QString accessToken;
    bool ended = false; ///< the service refused the token
    /// Raised by every sign-in and sign-out, so that no route of one user's session is used in another's; a
    /// session that the same user renewed goes on with the routes that it has.
    std::uint64_t signIn = 0;
    UserProfile profile;
    LocalNodeSelection localNode;
    /// The last list of the organization's nodes by id; null before there was one.
    std::shared_ptr<const QHash<QString, LocalNodeEntry>> nodes;
};

template <typename Call>
auto ZorbelApiClient::overSession(ImageDataRoute route, const Call& call) const {
    for (;;) {
        try {
            return call(route);
        } catch (const ZorbelApiError& error) {
            if (!isRefusedSession(route, error))
                throw;
            const auto renewed = renewedRoute(route);
            if (!renewed)
                throw sessionEnd(error);
            route = *renewed;
        }
    }
}

} // namespace zorbel
