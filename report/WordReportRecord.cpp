#include "report/WordReportRecord.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace zorbel {

namespace {

QString text(const QJsonObject& object, const char* key) {
    return object.value(QLatin1String(key)).toString();
}

std::string utf8(const QJsonObject& object, const char* key) {
    return text(object, key).toStdString();
}

} // namespace

QByteArray WordReportRecord::toText() const {
    const auto qt = [](const std::string& bytes) { return QString::fromStdString(bytes); };
    const QJsonObject object{
        {QStringLiteral("sessionId"), session.sessionId},
        {QStringLiteral("reportId"), session.reportId},
        {QStringLiteral("documentId"), session.documentId},
        {QStringLiteral("firstVersionId"), session.versionId},
        {QStringLiteral("fileName"), session.fileName},
        {QStringLiteral("expiresAt"), session.expiresAt},
        {QStringLiteral("studyUID"), qt(study.studyInstanceUid)},
        {QStringLiteral("patientName"), qt(study.patientName)},
        {QStringLiteral("modality"), qt(study.modality)},
        {QStringLiteral("studyDate"), qt(study.studyDate)},
        {QStringLiteral("studyDescription"), qt(study.studyDescription)},
        {QStringLiteral("syncedSha256"), qt(syncedSha256)},
        {QStringLiteral("sentSha256"), qt(sentSha256)},
        {QStringLiteral("serviceSha256"), qt(serviceSha256)},
        {QStringLiteral("conflict"), conflict},
        {QStringLiteral("versionId"), versionId},
        {QStringLiteral("versions"), versions},
        {QStringLiteral("savedAt"), savedAt}};
    return QJsonDocument(object).toJson();
}

std::optional<WordReportRecord> WordReportRecord::fromText(const QByteArray& bytes) {
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    WordReportRecord record;
    record.session = {text(object, "sessionId"),      text(object, "reportId"), text(object, "documentId"),
                      text(object, "firstVersionId"), text(object, "fileName"), text(object, "expiresAt")};
    record.study.studyInstanceUid = utf8(object, "studyUID");
    record.study.patientName = utf8(object, "patientName");
    record.study.modality = utf8(object, "modality");
    record.study.studyDate = utf8(object, "studyDate");
    record.study.studyDescription = utf8(object, "studyDescription");
    record.syncedSha256 = utf8(object, "syncedSha256");
    record.sentSha256 = utf8(object, "sentSha256");
    record.serviceSha256 = utf8(object, "serviceSha256");
    record.conflict = object.value(QLatin1String("conflict")).toBool();
    record.versionId = text(object, "versionId");
    record.versions = std::max(object.value(QLatin1String("versions")).toInt(1), 1);
    record.savedAt = text(object, "savedAt");
    if (record.session.sessionId.isEmpty() || record.syncedSha256.empty())
        return std::nullopt;
    return record;
}

} // namespace zorbel
