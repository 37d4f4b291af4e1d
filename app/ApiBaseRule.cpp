#include "app/ApiBaseRule.h"

#include "app/ServiceHost.h"

#include <QUrl>

namespace zorbel {

std::optional<QString> normalizeApiBase(const QString& apiBase) {
    const QString trimmed = apiBase.trimmed();
    if (trimmed.isEmpty())
        return QString();
    QUrl url(trimmed);
    const QString scheme = url.scheme().toLower();
    const QString host = url.host(QUrl::FullyDecoded).toLower();
    if (!url.isValid() || host.isEmpty())
        return std::nullopt;

    const QString domain = QString::fromLatin1(serviceDomain);
    const bool loopback = host == QLatin1String("localhost") || host == QLatin1String("127.0.0.1") ||
                          host == QLatin1String("::1");
    const bool ownHost = host == domain || host.endsWith(QLatin1Char('.') + domain);
    const bool https = scheme == QLatin1String("https");
    if (!(loopback && (https || scheme == QLatin1String("http"))) && !(ownHost && https))
        return std::nullopt;

    url.setScheme(scheme);
    url.setPath({});
    url.setQuery(QString());
    url.setFragment(QString());
    QString normalized = QString::fromLatin1(url.toEncoded(QUrl::FullyEncoded));
    while (normalized.endsWith(QLatin1Char('/')))
        normalized.chop(1);
    return normalized;
}

} // namespace zorbel
