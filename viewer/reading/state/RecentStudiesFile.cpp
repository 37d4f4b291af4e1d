#include "viewer/reading/state/RecentStudiesFile.h"

#include "viewer/reading/state/SaveAttempt.h"
#include "viewer/reading/state/TimeStamp.h"

namespace zorbel {

namespace {

constexpr char fileName[] = "recent-studies.json";

} // namespace

RecentStudies RecentStudiesFile::load() {
    const auto lock = files_.lock();
    return read();
}

std::string RecentStudiesFile::recordOpened(StudyIdentity study, std::chrono::system_clock::time_point now) {
    return attemptSave(saveFailedText, [&] {
        files_.createFolder("");
        const auto lock = files_.lock();
        auto studies = read();
        studies.opened({std::move(study), utcTimeStamp(now)});
        files_.write(fileName, recentStudiesText(studies));
    });
}

RecentStudies RecentStudiesFile::read() {
    const auto text = files_.read(fileName);
    if (!text)
        return {};
    auto studies = recentStudiesFrom(*text);
    if (!studies)
        files_.setAside(fileName);
    return studies ? *std::move(studies) : RecentStudies();
}

} // namespace zorbel
