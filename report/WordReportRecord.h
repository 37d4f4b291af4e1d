#pragma once

#include "base/StudyIdentity.h"
#include "report/WordRecords.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace zorbel {

/// What this computer knows of a report that lies in its working folder: enough to bring its document to the
/// service after the program was killed, and to say whose it is.
struct WordReportRecord {
    WordSession session;
    StudyIdentity study;
    /// SHA-256 of the document as it was written first or synced last, hexadecimal.
    std::string syncedSha256;
    /// That of a document that was sent without an answer: the service may hold it.
    std::string sentSha256;
    /// That of the service's newest version, as far as this computer knows; empty where it does not.
    std::string serviceSha256;
    /// Another version was made meanwhile, and the reader has not decided.
    bool conflict = false;
    /// Of the last confirmed version; the session's own at first.
    QString versionId;
    int versions = 1; ///< that this computer knows of
    QString savedAt;  ///< of the last confirmed version, ISO 8601 UTC; empty before the first

    /// JSON.
    QByteArray toText() const;
    /// Nothing for what is no record.
    static std::optional<WordReportRecord> fromText(const QByteArray& text);
};

} // namespace zorbel
