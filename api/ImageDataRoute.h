#pragma once

#include <QString>

#include <cstdint>

namespace zorbel {

/// Where image data comes from: the cloud's viewer proxy or a session on a Local Node. A value: whoever keeps
/// one keeps this way, whatever other loads open and whichever source is chosen meanwhile, until sign-out.
/// ZorbelApiClient makes them, and renews a node's session that has run out when it is used.
struct ImageDataRoute {
    QString baseUrl;
    QString prefix; ///< begins and ends with "/"
    QString token;
    bool isLocalNode = false;
    /// Of a node in the automatic mode: a failure of the node ends no load.
    bool cloudMayServe = false;
    std::int64_t expiry = 0;     ///< of a node's session, seconds since the Unix epoch
    std::uint64_t selection = 0; ///< the choice of a node that opened it
    std::uint64_t signIn = 0;    ///< the sign-in that it belongs to

    /// "Zorbel Cloud" or "Local Node".
    QString sourceLabel() const {
        return isLocalNode ? QStringLiteral("Local Node") : QStringLiteral("Zorbel Cloud");
    }
};

/// The way to one study's images.
struct StudyRoute {
    ImageDataRoute route;
    QString studyId; ///< the study's own id at a Local Node; empty at the cloud
};

} // namespace zorbel
