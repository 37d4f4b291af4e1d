#pragma once

#include "viewer/reading/records/FindingList.h"
#include "viewer/reading/state/HangingProtocol.h"
#include "viewer/reading/state/ReadingPosition.h"
#include "viewer/reading/state/StateFiles.h"
#include "viewer/reading/state/StateKind.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// What is remembered of each study: one file a kind and study, "<kind>/<study UID>.json".
///
/// Loading never fails: a missing or unreadable file gives nothing, and a damaged one is set aside with a
/// line in the log. Saving returns what the status bar has to say, empty for nothing; the log gets the
/// reason, and the file is as it was. Blanks around a UID are cut off; one that is no UID has nothing to
/// load, and cannot be saved. Of two programs the one that saves last decides. One thread; a save waits for
/// the disk.
class ReadingStateStore {
public:
    /// The files must outlive this.
    explicit ReadingStateStore(StateFiles& files) : files_(files) {}

    std::optional<ReadingPosition> readingPosition(std::string_view studyInstanceUid);
    /// For the position's own study. One that could not be applied (readingPositionFrom()) is not saved.
    std::string save(const ReadingPosition& position);

    std::optional<StudyHanging> hanging(std::string_view studyInstanceUid);
    std::string save(std::string_view studyInstanceUid, const StudyHanging& hanging);

    FindingList findings(std::string_view studyInstanceUid);
    std::string save(std::string_view studyInstanceUid, const FindingList& findings);

    /// The text of a JSON array, "[]" where there is none.
    std::string measurements(std::string_view studyInstanceUid);
    std::string saveMeasurements(std::string_view studyInstanceUid, std::string_view jsonArray);

private:
    template <class Value>
    std::optional<Value> load(
        StateKind kind, std::string_view studyInstanceUid,
        const std::function<std::optional<Value>(std::string_view)>& parse);
    std::string
    save(StateKind kind, std::string_view studyInstanceUid, const std::function<std::string()>& text);

    StateFiles& files_;
};

} // namespace zorbel
