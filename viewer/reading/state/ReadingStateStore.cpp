#include "viewer/reading/state/ReadingStateStore.h"

#include "viewer/reading/state/RecordLists.h"
#include "viewer/reading/state/SaveAttempt.h"

#include <stdexcept>

namespace zorbel {

namespace {

std::string fileName(StateKind kind, const std::string& uid) {
    return std::string(stateFolder(kind)) + "/" + uid + ".json";
}

} // namespace

template <class Value>
std::optional<Value> ReadingStateStore::load(
    StateKind kind, std::string_view studyInstanceUid,
    const std::function<std::optional<Value>(std::string_view)>& parse) {
    const auto uid = studyFileName(studyInstanceUid);
    if (!uid)
        return std::nullopt;
    const auto lock = files_.lock();
    const auto name = fileName(kind, *uid);
    const auto text = files_.read(name);
    if (!text)
        return std::nullopt;
    auto value = parse(*text);
    if (!value)
        files_.setAside(name);
    return value;
}

std::string ReadingStateStore::save(
    StateKind kind, std::string_view studyInstanceUid, const std::function<std::string()>& text) {
    return attemptSave(saveFailedText(kind), [&] {
        const auto uid = studyFileName(studyInstanceUid);
        if (!uid)
            throw std::invalid_argument("The study has no valid UID");
        files_.createFolder(std::string(stateFolder(kind)));
        const auto lock = files_.lock();
        files_.write(fileName(kind, *uid), text());
    });
}

std::optional<ReadingPosition> ReadingStateStore::readingPosition(std::string_view studyInstanceUid) {
    const auto uid = studyFileName(studyInstanceUid);
    return load<ReadingPosition>(StateKind::ReadingPosition, studyInstanceUid, [&](std::string_view text) {
        auto position = readingPositionFrom(text);
        return position && position->studyInstanceUid == uid ? position : std::nullopt;
    });
}

std::string ReadingStateStore::save(const ReadingPosition& position) {
    return save(StateKind::ReadingPosition, position.studyInstanceUid, [&] {
        auto trimmed = position;
        trimmed.studyInstanceUid = *studyFileName(position.studyInstanceUid);
        auto text = readingPositionText(trimmed);
        if (!readingPositionFrom(text))
            throw std::invalid_argument("The position is not one that could be applied");
        return text;
    });
}

std::optional<StudyHanging> ReadingStateStore::hanging(std::string_view studyInstanceUid) {
    return load<StudyHanging>(StateKind::HangingProtocol, studyInstanceUid, hangingProtocolFrom);
}

std::string ReadingStateStore::save(std::string_view studyInstanceUid, const StudyHanging& hanging) {
    return save(StateKind::HangingProtocol, studyInstanceUid, [&] { return hangingProtocolText(hanging); });
}

FindingList ReadingStateStore::findings(std::string_view studyInstanceUid) {
    return load<FindingList>(StateKind::Findings, studyInstanceUid, findingsFrom).value_or(FindingList());
}

std::string ReadingStateStore::save(std::string_view studyInstanceUid, const FindingList& findings) {
    return save(StateKind::Findings, studyInstanceUid, [&] { return findingsText(findings); });
}

std::string ReadingStateStore::measurements(std::string_view studyInstanceUid) {
    return load<std::string>(StateKind::Measurements, studyInstanceUid, measurementsFrom).value_or("[]");
}

std::string
ReadingStateStore::saveMeasurements(std::string_view studyInstanceUid, std::string_view jsonArray) {
    return save(StateKind::Measurements, studyInstanceUid, [&] {
        auto text = measurementsText(jsonArray);
        if (!text)
            throw std::invalid_argument("The measurements are no JSON array");
        return *std::move(text);
    });
}

} // namespace zorbel
