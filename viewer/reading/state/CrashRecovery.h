#pragma once

#include "viewer/reading/state/RecentStudiesFile.h"
#include "viewer/reading/state/SessionFile.h"

#include <optional>
#include <string>

namespace zorbel {

/// What becomes of the studies that were open when a program crashed or was killed. The reader is asked about
/// them, the newest first, and nothing but an answer, or the study's being opened, ends its being
/// recoverable: a study that is opened meanwhile, as from a link, only puts the question off. One that the
/// reader wanted stays recoverable until it is shown or the session ends properly. One thread.
class CrashRecovery {
public:
    /// The files must outlive this. previousRunCrashed: what the session lock told.
    CrashRecovery(SessionFile& session, RecentStudiesFile& recent, bool previousRunCrashed)
        : session_(session), recent_(recent), previousRunCrashed_(previousRunCrashed) {}

    /// The study to ask about now, with what is known of it; certain is its UID alone. Nothing where there is
    /// none, or one was accepted: others wait for the next start.
    std::optional<StudyIdentity> question();
    void accept(const StudyIdentity& study);
    /// Returns what the status bar has to say, empty for nothing.
    std::string decline(const StudyIdentity& study);
    /// At the session's proper end; likewise.
    std::string endSession();

private:
    SessionFile& session_;
    RecentStudiesFile& recent_;
    bool previousRunCrashed_;
    bool over_ = false;
    std::string accepted_; ///< a UID
};

} // namespace zorbel
