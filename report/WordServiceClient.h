#pragma once

#include "report/WordService.h"

#include <QJsonObject>

#include <memory>

namespace zorbel {

class ZorbelApiClient;

/// The Word endpoints of the service, as the signed-in user.
class WordServiceClient : public WordService {
public:
    explicit WordServiceClient(std::shared_ptr<const ZorbelApiClient> client) : client_(std::move(client)) {}

    std::vector<WordTemplate> templates(const CancelFlag& cancel) const override;
    WordSession createSession(
        const QString& studyInstanceUid, const QString& templateId, const CancelFlag& cancel) const override;
    QByteArray document(const QString& sessionId, const CancelFlag& cancel) const override;
    WordSaveResult
    save(const QString& sessionId, const QByteArray& document, const CancelFlag& cancel) const override;

private:
    std::shared_ptr<const ZorbelApiClient> client_;
};

} // namespace zorbel
