#include "api/ServiceReply.h"

#include "api/ConnectionAdvice.h"
#include "api/ZorbelApiClient.h"

#include <QJsonDocument>

namespace zorbel {

QJsonObject ZorbelApiClient::parseObject(const QByteArray& body, const QString& context) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        throw ZorbelApiError(QStringLiteral("Invalid JSON returned by %1: %2")
                                 .arg(context, error.errorString())
                                 .toStdString());
    return document.object();
}

QString ZorbelApiClient::errorCode(const QByteArray& body) {
    return QJsonDocument::fromJson(body).object().value(QLatin1String("code")).toString().trimmed();
}

QString ZorbelApiClient::errorMessage(const QByteArray& body, const QString& fallback) {
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    for (const auto member : {QLatin1String("error"), QLatin1String("message")}) {
        const QString text = object.value(member).toString().trimmed();
        if (!text.isEmpty())
            return text;
    }
    return fallback;
}

QByteArray compactJson(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

void throwUnlessSuccessful(int httpStatus, const QByteArray& body, QNetworkReply::NetworkError error) {
    if (httpStatus >= 200 && httpStatus <= 299)
        return;
    const QString fallback = QStringLiteral("Zorbel API returned HTTP %1").arg(httpStatus);
    ZorbelApiError failure(
        ZorbelApiClient::errorMessage(body, fallback).toStdString(), httpStatus,
        ZorbelApiClient::errorCode(body).toStdString(), causeOf(httpStatus));
    if (httpStatus == 0)
        failure.advice = connectionAdvice(error).toStdString();
    throw failure;
}

ZorbelApiError::Cause causeOf(int httpStatus) {
    return httpStatus == 0 ? ZorbelApiError::Cause::NoAnswer : ZorbelApiError::Cause::Other;
}

ZorbelApiError notAuthenticated() {
    return ZorbelApiError("Zorbel viewer session is not authenticated", 401);
}

ZorbelApiError sessionEnd(const ZorbelApiError& refusal) {
    return ZorbelApiError(refusal.what(), refusal.status, refusal.code, ZorbelApiError::Cause::SessionEnded);
}

} // namespace zorbel
