#pragma once

#include <QString>
#include <QUrl>

#include <optional>

class QByteArray;
class QJsonObject;

namespace zorbel {

struct UpdateOrigin;

/// A release as the service describes it.
struct ReleaseManifest {
    static constexpr qint64 largestInstaller = 536'870'912; ///< bytes

    QString version;
    QUrl url;       ///< of the installer
    QString sha256; ///< lower-case hex
    qint64 sizeBytes = 0;

    /// Nothing when any member breaks its rule.
    static std::optional<ReleaseManifest> parse(const QJsonObject& object, const UpdateOrigin& origin);
};

} // namespace zorbel
