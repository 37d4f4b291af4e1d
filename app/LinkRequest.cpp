#include "app/LinkRequest.h"

#include "app/ApiBaseRule.h"
#include "base/Uid.h"

#include <QUrl>
#include <QUrlQuery>

namespace zorbel {

namespace {

std::optional<LinkRequest> parseLink(const QString& argument) {
    const QUrl url(argument);
    if (!url.isValid() || url.scheme().compare(QLatin1String("zorbel-viewer"), Qt::CaseInsensitive) != 0 ||
        url.host().compare(QLatin1String("report"), Qt::CaseInsensitive) != 0)
        return std::nullopt;

    const QUrlQuery query(url);
    const QString uid =
        query.queryItemValue(QStringLiteral("studyInstanceUID"), QUrl::FullyDecoded).trimmed();
    if (!isUid(uid.toStdString()))
        return std::nullopt;
    const auto apiBase =
        normalizeApiBase(query.queryItemValue(QStringLiteral("apiBase"), QUrl::FullyDecoded));
    if (!apiBase)
        return std::nullopt;
    return LinkRequest{uid, *apiBase};
}

} // namespace

std::optional<LinkRequest> LinkRequest::parse(const QStringList& arguments) {
    for (const QString& argument : arguments)
        if (auto link = parseLink(argument))
            return link;
    return std::nullopt;
}

QString LinkRequest::url() const {
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("studyInstanceUID"), studyInstanceUID);
    if (!apiBase.isEmpty())
        query.addQueryItem(QStringLiteral("apiBase"), apiBase);
    QUrl url(QStringLiteral("zorbel-viewer://report"));
    url.setQuery(query);
    return QString::fromLatin1(url.toEncoded(QUrl::FullyEncoded));
}

bool LinkRequest::isFor(const QString& serviceBaseUrl) const {
    const auto sameServer = [](const QUrl& one, const QUrl& other) {
        const auto port = [](const QUrl& url) {
            return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
        };
        return one.scheme() == other.scheme() && one.host() == other.host() && port(one) == port(other);
    };
    return apiBase.isEmpty() || sameServer(QUrl(apiBase), QUrl(serviceBaseUrl));
}

} // namespace zorbel
