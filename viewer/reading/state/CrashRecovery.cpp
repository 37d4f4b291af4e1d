#include "viewer/reading/state/CrashRecovery.h"

#include <algorithm>

namespace zorbel {

std::optional<StudyIdentity> CrashRecovery::question() {
    if (over_)
        return std::nullopt;
    const auto left = session_.recoverable(previousRunCrashed_);
    over_ = left.empty();
    if (over_)
        return std::nullopt;
    const auto& study = left.front();
    const auto recent = recent_.load();
    const auto known =
        std::find_if(recent.studies().begin(), recent.studies().end(), [&](const RecentStudy& opened) {
            return opened.study.studyInstanceUid == study.studyInstanceUid;
        });
    return known != recent.studies().end() ? known->study : study;
}

void CrashRecovery::accept(const StudyIdentity& study) {
    accepted_ = study.studyInstanceUid;
    over_ = true;
}

std::string CrashRecovery::decline(const StudyIdentity& study) {
    return session_.forget(study.studyInstanceUid);
}

std::string CrashRecovery::endSession() {
    const std::string closing = session_.studyClosed();
    const std::string forgetting = accepted_.empty() ? std::string() : session_.forget(accepted_);
    return closing.empty() ? forgetting : closing;
}

} // namespace zorbel
