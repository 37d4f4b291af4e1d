#pragma once

#include "base/StudyIdentity.h"
#include "viewer/reading/state/StateFiles.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel {

/// Which study a program has open.
struct OpenStudy {
    StudyIdentity study;   ///< its UID and orthancId alone
    std::string savedAt{}; ///< ISO 8601, UTC
    std::string program{}; ///< 16 hexadecimal digits of its own; empty in a file that an older version wrote

    friend bool operator==(const OpenStudy&, const OpenStudy&) = default;
};

/// "session.json": which studies the user's programs have open. A program is in it from studyOpened() until
/// studyClosed(), so that after one that was killed the next start knows its study; while all end properly it
/// names none. A program that is alive, which its own locked file beside this one tells, is never recovered.
/// One thread.
class SessionFile {
public:
    static constexpr char saveFailedText[] = "Could not save the session";
    static constexpr std::size_t mostStudies = 16; ///< beyond, the oldest are dropped

    /// The files must outlive this.
    explicit SessionFile(StateFiles& files) : files_(files) {}

    /// By UID and orthancId, the studies of programs that died with them open, the newest first; none where
    /// the file is missing or not to be read. One that an older version wrote does not say whose it is:
    /// previousRunCrashed tells whether its program died, and if not, its study is forgotten.
    std::vector<StudyIdentity> recoverable(bool previousRunCrashed);

    // Each returns what the status bar has to say, empty for nothing.

    /// This program's study, which is no longer recoverable then; a UID that is none names no study. Its UID
    /// and orthancId are written.
    std::string studyOpened(
        const StudyIdentity& study,
        std::chrono::system_clock::time_point now = std::chrono::system_clock::now());
    std::string studyClosed(std::chrono::system_clock::time_point now = std::chrono::system_clock::now());
    /// A study that is no longer to be recoverable.
    std::string forget(
        std::string_view studyInstanceUid,
        std::chrono::system_clock::time_point now = std::chrono::system_clock::now());

private:
    void takeClaim();
    bool isOwn(const OpenStudy& open) const;
    /// Whether it is another program's that is not alive.
    bool isDead(const OpenStudy& open) const;
    bool isDead(const OpenStudy& open, std::string_view studyInstanceUid) const;
    std::vector<OpenStudy> read();
    void write(const std::vector<OpenStudy>& studies, std::chrono::system_clock::time_point now);

    StateFiles& files_;
    std::optional<FileLock> claim_; ///< while a study is open
    std::string program_;           ///< likewise
};

/// JSON, the newest study first; `now` is the time of a file that names none.
std::string sessionText(const std::vector<OpenStudy>& studies, const std::string& now);
/// Nothing where it is no JSON object; what names no valid UID is left out.
std::optional<std::vector<OpenStudy>> sessionFrom(std::string_view text);

} // namespace zorbel
