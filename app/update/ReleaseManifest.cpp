#include "app/update/ReleaseManifest.h"

#include "app/update/UpdateOrigin.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QRegularExpression>

#include <cmath>

namespace zorbel {

namespace {

bool matches(const QJsonValue& value, const char* pattern) {
    const QRegularExpression whole(QRegularExpression::anchoredPattern(QLatin1String(pattern)));
    return value.isString() && whole.match(value.toString()).hasMatch();
}

} // namespace

std::optional<ReleaseManifest> ReleaseManifest::parse(const QJsonObject& object, const UpdateOrigin& origin) {
    const auto is = [&object](const char* name, const QJsonValue& wanted) {
        return object.value(QLatin1String(name)) == wanted;
    };
    const auto member = [&object](const char* name) { return object.value(QLatin1String(name)); };
    if (!is("schemaVersion", 1) || !is("product", QStringLiteral("Zorbel Diagnostic Viewer")) ||
        !is("platform", QStringLiteral("windows-x64")) || !is("installerType", QStringLiteral("exe")))
        return {};
    if (!matches(member("version"), "\\d+\\.\\d+\\.\\d+") || !matches(member("sha256"), "[a-f0-9]{64}") ||
        !matches(member("signerThumbprint"), "[a-f0-9]{40,64}"))
        return {};
    const QJsonValue size = member("sizeBytes");
    const double bytes = size.toDouble(0);
    if (!size.isDouble() || bytes < 1 || bytes > double(largestInstaller) || bytes != std::floor(bytes))
        return {};
    const QUrl url(member("url").toString(), QUrl::StrictMode);
    if (!origin.trusts(url))
        return {};
    return ReleaseManifest{
        member("version").toString(), url, member("sha256").toString(), static_cast<qint64>(bytes)};
}

} // namespace zorbel
