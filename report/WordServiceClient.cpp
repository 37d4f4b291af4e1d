#include "report/WordServiceClient.h"

#include "api/ZorbelApiClient.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrl>

namespace zorbel {

namespace {

constexpr char templatesPath[] = "/apps/ris/api/desktop-word/templates";
constexpr char sessionsPath[] = "/apps/ris/api/desktop-word/sessions";
constexpr char documentType[] = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";
constexpr std::uint64_t largestDocument = 26214400; // bytes

QString documentPath(const QString& sessionId) {
    return QLatin1String(sessionsPath) + QLatin1Char('/') +
           QString::fromLatin1(QUrl::toPercentEncoding(sessionId)) + QStringLiteral("/document");
}

QString text(const QJsonObject& object, QLatin1String key) {
    return object.value(key).toString();
}

WordSession sessionFrom(const QJsonObject& object) {
    WordSession session;
    session.sessionId = text(object, QLatin1String("sessionId"));
    session.reportId = text(object, QLatin1String("reportId"));
    session.documentId = text(object, QLatin1String("documentId"));
    session.versionId = text(object, QLatin1String("versionId"));
    session.fileName = text(object, QLatin1String("fileName"));
    session.expiresAt = text(object, QLatin1String("expiresAt"));
    if (session.sessionId.isEmpty() || session.versionId.isEmpty())
        throw ZorbelApiError("Zorbel returned an incomplete desktop Word session");
    if (!session.fileName.endsWith(QLatin1String(".docx"), Qt::CaseInsensitive))
        session.fileName = QStringLiteral("Zorbel-Report.docx");
    return session;
}

WordSaveResult saveResultFrom(const QJsonObject& object) {
    WordSaveResult result;
    result.approved = object.value(QLatin1String("approved")).toBool(false);
    result.saved = object.value(QLatin1String("saved")).toBool(result.approved);
    result.createdVersion = object.value(QLatin1String("createdVersion")).toBool(false);
    result.versionId = text(object, QLatin1String("versionId"));
    result.canonicalVersionId = text(object, QLatin1String("canonicalVersionId"));
    result.savedAt = text(object, QLatin1String("savedAt"));
    if (!result.saved || result.versionId.isEmpty())
        throw ZorbelApiError("Zorbel did not confirm the Word report version");
    return result;
}

} // namespace

std::vector<WordTemplate> WordServiceClient::templates(const CancelFlag& cancel) const {
    const auto& config = client_->config();
    const QByteArray body = client_->authenticatedRequest(
        "GET", QLatin1String(templatesPath), {}, {}, true, config.requestTimeoutMs,
        config.maximumResponseBytes, cancel);
    const QJsonObject object =
        ZorbelApiClient::parseObject(body, QStringLiteral("Zorbel desktop Word templates"));
    std::vector<WordTemplate> templates;
    for (const QJsonValue& entry : object.value(QLatin1String("templates")).toArray()) {
        if (!entry.isObject())
            continue;
        const QJsonObject one = entry.toObject();
        templates.push_back(
            {text(one, QLatin1String("id")), text(one, QLatin1String("name")),
             text(one, QLatin1String("description")), text(one, QLatin1String("language")),
             text(one, QLatin1String("direction"))});
    }
    return templates;
}

WordSession WordServiceClient::createSession(
    const QString& studyInstanceUid, const QString& templateId, const CancelFlag& cancel) const {
    if (studyInstanceUid.trimmed().isEmpty())
        throw ZorbelApiError("Open a study before starting a Word report");
    QJsonObject request{{QStringLiteral("studyInstanceUID"), studyInstanceUid.trimmed()}};
    if (!templateId.trimmed().isEmpty())
        request.insert(QStringLiteral("templateId"), templateId.trimmed());
    const auto& config = client_->config();
    const QByteArray body = client_->authenticatedRequest(
        "POST", QLatin1String(sessionsPath), QJsonDocument(request).toJson(QJsonDocument::Compact),
        "application/json", true, config.requestTimeoutMs, config.maximumResponseBytes, cancel);
    return sessionFrom(ZorbelApiClient::parseObject(body, QStringLiteral("Zorbel desktop Word session"))
                           .value(QLatin1String("session"))
                           .toObject());
}

// Documents are as large as images, and take as long on a clinic's line.
QByteArray WordServiceClient::document(const QString& sessionId, const CancelFlag& cancel) const {
    if (sessionId.isEmpty())
        throw ZorbelApiError("Desktop Word session is missing");
    return client_->authenticatedRequest(
        "GET", documentPath(sessionId), {}, {}, true, client_->config().transferTimeoutMs, largestDocument,
        cancel);
}

WordSaveResult WordServiceClient::save(
    const QString& sessionId, const QByteArray& document, const CancelFlag& cancel) const {
    if (sessionId.isEmpty() || document.isEmpty())
        throw ZorbelApiError("Desktop Word session or document is missing");
    const auto& config = client_->config();
    const QByteArray body = client_->authenticatedRequest(
        "PUT", documentPath(sessionId), document, documentType, true, config.transferTimeoutMs,
        config.maximumResponseBytes, cancel);
    return saveResultFrom(ZorbelApiClient::parseObject(body, QStringLiteral("Zorbel desktop Word save"))
                              .value(QLatin1String("result"))
                              .toObject());
}

} // namespace zorbel
