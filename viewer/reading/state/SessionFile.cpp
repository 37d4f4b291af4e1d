#include "viewer/reading/state/SessionFile.h"

#include "viewer/reading/state/JsonText.h"
#include "viewer/reading/state/SaveAttempt.h"
#include "viewer/reading/state/TimeStamp.h"

namespace zorbel {

namespace {

constexpr char fileName[] = "session.json";
constexpr char claimName[] = ".session.lock";

} // namespace

bool SessionFile::claim() {
    return claim_.has_value() || files_.tryClaim(claimName, claim_);
}

std::optional<RecoverableStudy> SessionFile::recoverable() {
    std::optional<FileLock> nobodyElse;
    if (!claim_ && !files_.tryClaim(claimName, nobodyElse))
        return std::nullopt;
    const auto lock = files_.lock();
    const auto text = files_.read(fileName);
    if (!text)
        return std::nullopt;
    auto study = sessionFrom(*text);
    if (!study) {
        files_.setAside(fileName);
        return std::nullopt;
    }
    return study->studyInstanceUid.empty() ? std::nullopt : std::move(study);
}

std::string SessionFile::studyOpened(
    std::string_view studyInstanceUid, const std::string& orthancId,
    std::chrono::system_clock::time_point now) {
    const auto uid = studyFileName(studyInstanceUid);
    return save({uid.value_or(""), uid ? orthancId : std::string(), utcTimeStamp(now)});
}

std::string SessionFile::studyClosed(std::chrono::system_clock::time_point now) {
    auto failure = save({{}, {}, utcTimeStamp(now)});
    claim_.reset();
    return failure;
}

std::string SessionFile::save(const RecoverableStudy& study) {
    return attemptSave(saveFailedText, [&] {
        files_.createFolder("");
        if (!claim())
            return;
        const auto lock = files_.lock();
        files_.write(fileName, sessionText(study));
    });
}

std::string sessionText(const RecoverableStudy& study) {
    return json_text::write(
        {{"lastStudyInstanceUID", study.studyInstanceUid},
         {"lastOrthancId", study.orthancId},
         {"savedAt", study.savedAt}});
}

std::optional<RecoverableStudy> sessionFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_object())
        return std::nullopt;
    RecoverableStudy study;
    study.savedAt = json_text::text(*file, "savedAt");
    if (const auto uid = studyFileName(json_text::text(*file, "lastStudyInstanceUID"))) {
        study.studyInstanceUid = *uid;
        study.orthancId = json_text::text(*file, "lastOrthancId");
    }
    return study;
}

} // namespace zorbel
