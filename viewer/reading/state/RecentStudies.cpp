#include "viewer/reading/state/RecentStudies.h"

#include "viewer/reading/state/JsonText.h"
#include "viewer/reading/state/StateFiles.h"

#include <algorithm>

namespace zorbel {

using nlohmann::json;

void RecentStudies::opened(RecentStudy opened) {
    const auto uid = studyFileName(opened.study.studyInstanceUid);
    if (!uid)
        return;
    opened.study.studyInstanceUid = *uid;
    std::erase_if(studies_, [&](const RecentStudy& other) { return other.study.studyInstanceUid == *uid; });
    studies_.insert(studies_.begin(), std::move(opened));
    studies_.resize(std::min(studies_.size(), most));
}

std::string recentStudiesText(const RecentStudies& studies) {
    json file = json::array();
    for (const auto& [study, lastOpenedAt] : studies.studies()) {
        file.push_back(
            {{"studyUID", study.studyInstanceUid},
             {"orthancId", study.orthancId},
             {"patientName", study.patientName},
             {"modality", study.modality},
             {"studyDate", study.studyDate},
             {"lastOpenedAt", lastOpenedAt},
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
                {{.orthancId = json_text::text(*entry, "orthancId"),
                  .studyInstanceUid = json_text::text(*entry, "studyUID"),
                  .patientName = json_text::text(*entry, "patientName"),
                  .modality = json_text::text(*entry, "modality"),
                  .studyDate = json_text::text(*entry, "studyDate"),
                  .studyDescription = json_text::text(*entry, "studyDescription"),
                  .bodyPart = json_text::text(*entry, "bodyPart")},
                 json_text::text(*entry, "lastOpenedAt")});
    }
    return studies;
}

} // namespace zorbel
