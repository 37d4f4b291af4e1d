#include "viewer/reading/state/RecentStudies.h"

#include "viewer/reading/state/JsonText.h"
#include "viewer/reading/state/StateFiles.h"

#include <algorithm>

namespace zorbel {

using nlohmann::json;

void RecentStudies::opened(RecentStudy study) {
    const auto uid = studyFileName(study.studyUid);
    if (!uid)
        return;
    study.studyUid = *uid;
    std::erase_if(studies_, [&](const RecentStudy& other) { return other.studyUid == *uid; });
    studies_.insert(studies_.begin(), std::move(study));
    studies_.resize(std::min(studies_.size(), most));
}

std::string recentStudiesText(const RecentStudies& studies) {
    json file = json::array();
    for (const RecentStudy& study : studies.studies()) {
        file.push_back(
            {{"studyUID", study.studyUid},
             {"orthancId", study.orthancId},
             {"patientName", study.patientName},
             {"modality", study.modality},
             {"studyDate", study.studyDate},
             {"lastOpenedAt", study.lastOpenedAt},
             {"studyDescription", study.studyDescription},
             {"bodyPart", study.bodyPart}});
    }
    return json_text::write(file);
}

std::optional<RecentStudies> recentStudiesFrom(std::string_view text) {
    const auto file = json_text::parse(text);
    if (!file || !file->is_array())
        return std::nullopt;
    RecentStudies studies;
    // From the oldest, so that the newest of the same study stays, and the newest of too many.
    for (auto entry = file->rbegin(); entry != file->rend(); ++entry) {
        if (entry->is_object())
            studies.opened(
                {json_text::text(*entry, "studyUID"), json_text::text(*entry, "orthancId"),
                 json_text::text(*entry, "patientName"), json_text::text(*entry, "modality"),
                 json_text::text(*entry, "studyDate"), json_text::text(*entry, "lastOpenedAt"),
                 json_text::text(*entry, "studyDescription"), json_text::text(*entry, "bodyPart")});
    }
    return studies;
}

} // namespace zorbel
