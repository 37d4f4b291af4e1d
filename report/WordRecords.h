#pragma once

#include <QString>

namespace zorbel {

/// A document that a report can be begun from.
struct WordTemplate {
    QString id;
    QString name;
    QString description;
    QString language;
    QString direction; ///< "rtl" or "ltr"
};

/// A report that the service has begun for this workstation.
struct WordSession {
    QString sessionId;
    QString reportId;
    QString documentId;
    QString versionId; ///< of the document that it begins with
    QString fileName;  ///< ends in ".docx"
    QString expiresAt; ///< as the service writes it
};

/// What became of a document that the service was given.
struct WordSaveResult {
    bool approved = false;
    bool saved = false;
    /// False where the service held that very document already.
    bool createdVersion = false;
    QString versionId{};
    QString canonicalVersionId{};
    QString savedAt{}; ///< as the service writes it
};

} // namespace zorbel
