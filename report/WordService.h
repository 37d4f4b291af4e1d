#pragma once

#include "base/CancelFlag.h"
#include "report/WordRecords.h"

#include <QByteArray>

#include <vector>

namespace zorbel {

/// The service's side of Word reports. Calls are synchronous and may come from any thread. Failures are
/// thrown as ZorbelApiError, also of a call that the flag ended.
class WordService {
public:
    virtual ~WordService() = default;

    virtual std::vector<WordTemplate> templates(const CancelFlag& cancel) const = 0;
    /// templateId: empty leaves the choice to the service.
    virtual WordSession createSession(
        const QString& studyInstanceUid, const QString& templateId, const CancelFlag& cancel) const = 0;
    /// The session's newest version.
    virtual QByteArray document(const QString& sessionId, const CancelFlag& cancel) const = 0;
    /// Makes it a version. What is returned is confirmed: saved, and with a version.
    virtual WordSaveResult
    save(const QString& sessionId, const QByteArray& document, const CancelFlag& cancel) const = 0;
};

} // namespace zorbel
