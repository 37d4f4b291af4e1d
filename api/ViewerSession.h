#pragma once

#include "api/UserProfile.h"
#include "api/ZorbelApiClient.h"

namespace zorbel {

/// The clinic's on-site archive the user chose, and the short session opened on it. Times are seconds since
/// the Unix epoch.
struct LocalNodeSelection {
    int sourceKind = 0;
    QString nodeId;
    QString baseUrl;
    QString token;
    std::int64_t sessionExpiry = 0;
    std::int64_t retryAfter = 0;
    bool sessionActive = false;

    /// Back to the cloud; the choice of node stays.
    void closeSession() {
        baseUrl.clear();
        token.clear();
        sessionExpiry = 0;
        retryAfter = 0;
        sessionActive = false;
    }
};

struct ZorbelApiClient::ViewerSession {
    QString accessToken;
    UserProfile profile;
    LocalNodeSelection localNode;
};

} // namespace zorbel
