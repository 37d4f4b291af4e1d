#pragma once

#include <QString>

namespace zorbel {

// Keys and defaults of the persisted settings. Tokens and passwords are never among them.

inline constexpr char cacheDirKey[] = "viewer/cacheDir"; ///< default: the writable CacheLocation
inline constexpr char cacheRetentionDaysKey[] = "viewer/cacheRetentionDays"; ///< 0 to 30; 0: session only
inline constexpr char cacheMaxGiBKey[] = "viewer/cacheMaxGiB";               ///< 1 to 100

inline constexpr int defaultCacheRetentionDays = 1;
inline constexpr int defaultCacheMaxGiB = 10;

/// Each organization keeps its own choice of source.
inline QString sourcePreferenceKey(const QString& organizationId) {
    return QStringLiteral("viewer/localNode/%1/sourcePreference").arg(organizationId);
}
inline QString localNodeKey(const QString& organizationId) {
    return QStringLiteral("viewer/localNode/%1/clinicId").arg(organizationId);
}

} // namespace zorbel
