#include "app/update/UpdateOrigin.h"

#include "app/ServiceHost.h"

namespace zorbel {

namespace {

/// The certificate with which the vendor signs installers.
constexpr char vendorThumbprint[] = "5A0F3C1E9B7D2486C0E1F4A83B65D97012CE84FB";

} // namespace

UpdateOrigin UpdateOrigin::vendor() {
    return {
        QUrl(QLatin1String(defaultApiBaseUrl) + QLatin1String("/api/desktop/releases/latest")),
        QString::fromLatin1(serviceDomain), QString::fromLatin1(vendorThumbprint)};
}

bool UpdateOrigin::trusts(const QUrl& url) const {
    const QString scheme = url.scheme().toLower();
    const QString host = url.host(QUrl::FullyDecoded).toLower();
    if (!url.isValid() || host.isEmpty() || !url.userInfo().isEmpty())
        return false;
    if (plainLoopback && scheme == QLatin1String("http") && host == QLatin1String("127.0.0.1"))
        return true;
    return scheme == QLatin1String("https") && (host == domain || host.endsWith(QLatin1Char('.') + domain));
}

} // namespace zorbel
