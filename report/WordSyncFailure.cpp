#include "report/WordSyncFailure.h"

#include "api/ZorbelApiError.h"

namespace zorbel {

namespace {

WordSyncFailure::Kind kindOf(const ZorbelApiError& error) {
    using Kind = WordSyncFailure::Kind;
    switch (error.status) {
    case 401:
        return Kind::SignInNeeded;
    case 404:
    case 410:
        return Kind::SessionGone;
    case 409:
        return Kind::Conflict;
    case 413:
        return Kind::TooLarge;
    default:
        return error.isOutage() ? Kind::Outage : Kind::Refused;
    }
}

} // namespace

WordSyncFailure WordSyncFailure::of(const std::exception& error) {
    WordSyncFailure failure;
    const auto* apiError = dynamic_cast<const ZorbelApiError*>(&error);
    if (!apiError) {
        failure.reason = QStringLiteral("Unexpected error while saving the Word report.");
        return failure;
    }
    failure.kind = kindOf(*apiError);
    failure.reason = QString::fromUtf8(apiError->what());
    if (failure.reason.isEmpty())
        failure.reason = QStringLiteral("The Desktop Word request failed.");
    // An answer that made no sense, or none; a proxy's "gateway timeout" speaks for nobody behind it.
    failure.mayBeStored = apiError->status == 0 || apiError->status >= 500 || apiError->status == 408;
    return failure;
}

WordSyncFailure WordSyncFailure::anotherVersion() {
    WordSyncFailure failure;
    failure.kind = Kind::Conflict;
    failure.reason = QStringLiteral("Another version of the report was made meanwhile");
    return failure;
}

WordSyncFailure WordSyncFailure::noWordDocument() {
    WordSyncFailure failure;
    failure.reason = QStringLiteral(
        "The saved file is not a Word document that Zorbel can take. Save it as .docx without a password.");
    return failure;
}

QString WordSyncFailure::statusText() const {
    const bool isSentence = reason.endsWith(QLatin1Char('.')) || reason.endsWith(QLatin1Char('!'));
    return QStringLiteral("Word Save is still local; Zorbel sync failed: %1").arg(reason) +
           QLatin1String(isSentence ? "" : ".") +
           QStringLiteral(" The Word report remains open locally. Fix the issue and save again.");
}

QString WordSyncFailure::shortText() const {
    switch (kind) {
    case Kind::Outage:
        return QStringLiteral("Zorbel cannot be reached; trying again");
    case Kind::SignInNeeded:
        return QStringLiteral("sign in again to sync it");
    case Kind::SessionGone:
        return QStringLiteral("its session has ended; the document is kept on this computer");
    case Kind::Conflict:
        return QStringLiteral("another version was made meanwhile");
    case Kind::TooLarge:
        return QStringLiteral("the document is too large for Zorbel");
    case Kind::Refused:
        break;
    }
    return reason;
}

} // namespace zorbel
