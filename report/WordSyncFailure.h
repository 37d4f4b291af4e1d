#pragma once

#include <QString>

#include <exception>

namespace zorbel {

/// Why a document did not reach the service, and what can be done about it. Value type.
struct WordSyncFailure {
    enum class Kind {
        Outage,       ///< tried again by itself
        SignInNeeded, ///< tried again when the reader has signed in
        SessionGone,  ///< the service takes nothing of this report any more
        Conflict,     ///< another version was made meanwhile; the reader decides
        TooLarge,     ///< nothing helps but another document
        Refused,      ///< anything else; tried again when the reader says so
    };

    Kind kind = Kind::Refused;
    QString reason; ///< in words, as the service or the client has it
    /// The service may have stored the version all the same.
    bool mayBeStored = false;

    static WordSyncFailure of(const std::exception& error);
    static WordSyncFailure anotherVersion();
    /// What was saved cannot be a version of the report: it has a password, or another format.
    static WordSyncFailure noWordDocument();

    /// "Word Save is still local; Zorbel sync failed: …", and what to do.
    QString statusText() const;
    /// In a few words, for the chip and the status bar.
    QString shortText() const;
};

} // namespace zorbel
