#pragma once

#include <QString>

namespace zorbel {

/// Who is signed in, as the service reports it.
struct UserProfile {
    QString id;
    QString email;
    QString name;
    QString role;
    QString organizationId;
    QString organizationName;
};

/// What a sign-in came to; errorMessage is for the user and empty on success.
struct LoginOutcome {
    bool success = false;
    QString errorMessage;
    QString advice; ///< what the user can do; empty where that is not known
    UserProfile profile;
};

} // namespace zorbel
