#include "app/ApiBaseRule.h"

#include "api/EndpointRule.h"
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
    // A name and password in the address would be shown wherever the address is.
    if (!url.isValid() || host.isEmpty() || !url.userInfo().isEmpty())
        return std::nullopt;

    const QString domain = QString::fromLatin1(serviceDomain);
    const bool loopback = isLoopbackHost(host);
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
