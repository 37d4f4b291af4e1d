#pragma once

#include "viewer/reading/state/RecentStudies.h"
#include "viewer/reading/state/StateFiles.h"

#include <chrono>

namespace zorbel {

/// "recent-studies.json". Several programs of one user share it: the file is the list, and each opened study
/// is added to what it holds by then. One thread.
class RecentStudiesFile {
public:
    static constexpr char saveFailedText[] = "Could not save the recent studies";

    /// The files must outlive this.
    explicit RecentStudiesFile(StateFiles& files) : files_(files) {}

    /// Empty where there is no readable file.
    RecentStudies load();
    /// Puts the study first, as opened now. Returns what the status bar has to say, empty for nothing.
    std::string recordOpened(
        StudyIdentity study, std::chrono::system_clock::time_point now = std::chrono::system_clock::now());

private:
    RecentStudies read();

    StateFiles& files_;
};

} // namespace zorbel
