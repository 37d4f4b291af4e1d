#include "api/TokenExpiry.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

namespace zorbel {

std::optional<std::int64_t> tokenExpiry(const QString& token) {
    constexpr double latest = 1e12; // the sum with a few minutes stays in range
    const QStringList parts = token.split(QLatin1Char('.'));
    if (parts.size() != 3)
        return std::nullopt;
    const auto claims = QByteArray::fromBase64Encoding(
        parts[1].toLatin1(), QByteArray::Base64UrlEncoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!claims)
        return std::nullopt;
    const QJsonValue expiry = QJsonDocument::fromJson(*claims).object().value(QLatin1String("exp"));
    const double seconds = expiry.toDouble(0);
    if (!(seconds > 0 && seconds < latest))
        return std::nullopt;
    return static_cast<std::int64_t>(seconds);
}

} // namespace zorbel
