#include "viewer/reading/state/SessionFile.h"

#include "platform/RandomName.h"
#include "viewer/reading/state/JsonText.h"
#include "viewer/reading/state/SaveAttempt.h"
#include "viewer/reading/state/TimeStamp.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace zorbel {

using nlohmann::json;

namespace {

constexpr char fileName[] = "session.json";

std::string claimName(const std::string& program) {
    return ".session-" + program + ".lock";
}

bool isProgram(const std::string& text) {
    return text.size() == 16 && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

json recordOf(const OpenStudy& open) {
    json record = {
        {"lastStudyInstanceUID", open.study.studyInstanceUid},
        {"lastOrthancId", open.study.orthancId},
        {"savedAt", open.savedAt}};
    if (!open.program.empty())
        record["program"] = open.program;
    return record;
}

std::optional<OpenStudy> openStudyFrom(const json& record) {
    if (!record.is_object())
        return std::nullopt;
    const auto uid = studyFileName(json_text::text(record, "lastStudyInstanceUID"));
    if (!uid)
        return std::nullopt;
    OpenStudy open{
        {.orthancId = json_text::text(record, "lastOrthancId"), .studyInstanceUid = *uid},
        json_text::text(record, "savedAt"),
        json_text::text(record, "program")};
    if (!isProgram(open.program))
        open.program.clear();
    return open;
}

} // namespace

std::vector<StudyIdentity> SessionFile::recoverable(bool previousRunCrashed) {
    const auto lock = files_.lock();
    auto open = read();
    const auto isOlder = [](const OpenStudy& study) { return study.program.empty(); };
    if (!previousRunCrashed && std::erase_if(open, isOlder) > 0)
        attemptSave(saveFailedText, [&] { write(open, std::chrono::system_clock::now()); });
    std::vector<StudyIdentity> studies;
    for (const OpenStudy& study : open)
        if (isOlder(study) || isDead(study))
            studies.push_back(study.study);
    return studies;
}

std::string SessionFile::studyOpened(const StudyIdentity& study, std::chrono::system_clock::time_point now) {
    const auto uid = studyFileName(study.studyInstanceUid);
    if (!uid)
        return studyClosed(now);
    return attemptSave(saveFailedText, [&] {
        files_.createFolder("");
        takeClaim();
        const auto lock = files_.lock();
        auto studies = read();
        std::erase_if(studies, [&](const OpenStudy& open) { return isOwn(open) || isDead(open, *uid); });
        studies.insert(
            studies.begin(),
            {{.orthancId = study.orthancId, .studyInstanceUid = *uid}, utcTimeStamp(now), program_});
        studies.resize(std::min(studies.size(), mostStudies));
        write(studies, now);
    });
}

std::string SessionFile::studyClosed(std::chrono::system_clock::time_point now) {
    auto failure = attemptSave(saveFailedText, [&] {
        const auto lock = files_.lock();
        auto studies = read();
        std::erase_if(studies, [this](const OpenStudy& open) { return isOwn(open); });
        try {
            files_.createFolder("");
            write(studies, now);
        } catch (const std::system_error&) {
            // A full disk has room for no file, but for one less.
            if (!studies.empty() || !files_.remove(fileName))
                throw;
        }
    });
    if (claim_)
        claim_->removeFile();
    claim_.reset();
    program_.clear();
    return failure;
}

std::string
SessionFile::forget(std::string_view studyInstanceUid, std::chrono::system_clock::time_point now) {
    return attemptSave(saveFailedText, [&] {
        const auto lock = files_.lock();
        auto studies = read();
        if (std::erase_if(studies, [&](const OpenStudy& open) { return isDead(open, studyInstanceUid); }) > 0)
            write(studies, now);
    });
}

void SessionFile::takeClaim() {
    if (!program_.empty())
        return;
    program_ = randomName();
    files_.tryClaim(claimName(program_), claim_);
}

bool SessionFile::isOwn(const OpenStudy& open) const {
    return !program_.empty() && open.program == program_;
}

bool SessionFile::isDead(const OpenStudy& open) const {
    std::optional<FileLock> nobodys;
    if (isOwn(open) || (!open.program.empty() && !files_.tryClaim(claimName(open.program), nobodys)))
        return false;
    if (nobodys)
        nobodys->removeFile();
    return true;
}

bool SessionFile::isDead(const OpenStudy& open, std::string_view studyInstanceUid) const {
    return open.study.studyInstanceUid == studyInstanceUid && isDead(open);
}

std::vector<OpenStudy> SessionFile::read() {
    const auto text = files_.read(fileName);
    if (!text)
        return {};
    auto studies = sessionFrom(*text);
    if (!studies)
        files_.setAside(fileName);
    return studies ? *std::move(studies) : std::vector<OpenStudy>();
}

void SessionFile::write(const std::vector<OpenStudy>& studies, std::chrono::system_clock::time_point now) {
    files_.write(fileName, sessionText(studies, utcTimeStamp(now)));
}

std::string sessionText(const std::vector<OpenStudy>& studies, const std::string& now) {
    json file = recordOf(studies.empty() ? OpenStudy{{}, now, {}} : studies.front());
    for (std::size_t other = 1; other < studies.size(); ++other)
        file["others"].push_back(recordOf(studies[other]));
    return json_text::write(file);
}

std::optional<std::vector<OpenStudy>> sessionFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_object())
        return std::nullopt;
    std::vector<OpenStudy> studies;
    const auto add = [&](const json& record) {
        if (auto open = openStudyFrom(record); open && studies.size() < SessionFile::mostStudies)
            studies.push_back(*std::move(open));
    };
    add(*file);
    if (const json* others = json_text::array(*file, "others"))
        for (const json& record : *others)
            add(record);
    return studies;
}

} // namespace zorbel
