#include "api/EndpointRule.h"

#include <QString>
#include <QUrl>

namespace zorbel {

bool isLoopbackHost(const QString& host) {
    for (const char* name : {"localhost", "127.0.0.1", "::1"})
        if (host.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return true;
    return false;
}

bool isSecureEndpoint(const QUrl& url) {
    if (!url.isValid() || url.host().isEmpty())
        return false;
    return url.scheme() == QLatin1String("https") ||
           (url.scheme() == QLatin1String("http") && isLoopbackHost(url.host()));
}

} // namespace zorbel
