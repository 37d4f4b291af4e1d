#pragma once

#include "tests/reading/state/StateFixture.h"
#include "viewer/reading/state/RecentStudiesFile.h"
#include "viewer/reading/state/SessionFile.h"

#include <array>

namespace zorbel::tests {

/// One number for each kind of state, 0 where there is none: the five of StateKind, the recent studies and
/// the session.
struct SessionState {
    static constexpr int kinds = 7;
    static constexpr int recent = 5;
    static constexpr int session = 6;
    std::array<int, kinds> numbers{};
};

/// Writes such numbers the way the viewer writes what it remembers, and reads them back. A state whose parts
/// do not agree reads as -1.
class ReadingSession {
public:
    ReadingSession(const std::filesystem::path& root, std::string study)
        : study_(std::move(study)), files_(root) {
        images_ = KeyImageStore(files_).load(study_);
    }

    SessionState state;

    bool save(StateKind kind) {
        ReadingStateStore store(files_);
        const int number = state.numbers[static_cast<std::size_t>(kind)];
        switch (kind) {
        case StateKind::ReadingPosition:
            return store.save(samplePosition(study_, number)).empty();
        case StateKind::HangingProtocol:
            return store.save(study_, sampleHanging(number)).empty();
        case StateKind::Findings:
            return store.save(study_, findingsOf(number)).empty();
        case StateKind::Measurements:
            return store.saveMeasurements(study_, "[" + std::to_string(number) + "]").empty();
        case StateKind::KeyImages:
            break;
        }
        return true;
    }

    bool saveAtOnce(int kind) {
        const auto text = std::to_string(state.numbers[static_cast<std::size_t>(kind)]);
        if (kind == SessionState::recent)
            return RecentStudiesFile(files_)
                .recordOpened({.orthancId = text, .studyInstanceUid = study_})
                .empty();
        if (kind == SessionState::session)
            return SessionFile(files_).studyOpened({.orthancId = text, .studyInstanceUid = study_}).empty();
        const auto png = pictureOf(text);
        return KeyImageStore(files_).add(study_, images_, {png, 8, 8, text}).captured;
    }

    SessionState found() {
        ReadingStateStore store(files_);
        SessionState result;
        auto& numbers = result.numbers;
        if (const auto position = store.readingPosition(study_))
            numbers[0] = static_cast<int>(position->of("1.9")->crosshair[0]);
        if (const auto hanging = store.hanging(study_); hanging && hanging->of("1.9").window)
            numbers[1] = static_cast<int>(hanging->of("1.9").window->width);
        const auto findings = store.findings(study_);
        if (!findings.findings().empty()) {
            numbers[2] = std::stoi(findings.findings()[0].note);
            if (findings != findingsOf(numbers[2]))
                numbers[2] = -1;
        }
        const auto measurements = store.measurements(study_);
        if (measurements != "[]")
            numbers[3] = std::stoi(measurements.substr(1));
        numbers[4] = foundImage();
        const auto recent = RecentStudiesFile(files_).load().studies();
        if (!recent.empty() && recent[0].study.studyInstanceUid == study_)
            numbers[5] = std::stoi(recent[0].study.orthancId);
        const auto open = SessionFile(files_).recoverable(true);
        if (!open.empty() && open[0].studyInstanceUid == study_)
            numbers[6] = std::stoi(open[0].orthancId);
        return result;
    }

private:
    static FindingList findingsOf(int number) {
        FindingList list;
        for (int index = 0; index < 1 + number % 30; ++index)
            list.add(sampleFindings(std::to_string(number)).findings()[0]);
        return list;
    }
    static std::string pictureOf(const std::string& text) {
        std::string contents;
        for (int repeat = 0; repeat < 5000; ++repeat)
            contents += text;
        return pngBytes(contents);
    }
    int foundImage() {
        KeyImageStore store(files_);
        const auto images = store.load(study_).images();
        for (const KeyImage& image : images)
            if (store.png(study_, image) != pictureOf(image.caption))
                return -1;
        return images.empty() ? 0 : std::stoi(images.back().caption);
    }

    std::string study_;
    StateFiles files_;
    KeyImageList images_;
};

} // namespace zorbel::tests
