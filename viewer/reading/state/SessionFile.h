#pragma once

#include "viewer/reading/state/StateFiles.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace zorbel {

/// The study that was open when the program ended without closing it.
struct RecoverableStudy {
    std::string studyInstanceUid;
    std::string orthancId;
    std::string savedAt; ///< ISO 8601, UTC

    friend bool operator==(const RecoverableStudy&, const RecoverableStudy&) = default;
};

/// "session.json": which study is open. It names one from studyOpened() until studyClosed(), so that after a
/// program that was killed the next start knows; a clean end leaves it with empty texts. Of several programs
/// of one user it speaks for the first that has a study open, until that closes it or ends: what the others
/// have open is not recoverable then, and a program that is alive is never recovered. One thread.
class SessionFile {
public:
    static constexpr char saveFailedText[] = "Could not save the session";

    /// The files must outlive this.
    explicit SessionFile(StateFiles& files) : files_(files) {}

    /// Nothing after a clean end, while another program speaks, or where the file is missing or not to be
    /// read. To be asked before the first study is opened.
    std::optional<RecoverableStudy> recoverable();
    /// Each returns what the status bar has to say, empty for nothing. A UID that is none names no study.
    /// While another program speaks they do nothing.
    std::string studyOpened(
        std::string_view studyInstanceUid, const std::string& orthancId,
        std::chrono::system_clock::time_point now = std::chrono::system_clock::now());
    /// Also at the program's end, and to forget a study whose recovery the user declined.
    std::string studyClosed(std::chrono::system_clock::time_point now = std::chrono::system_clock::now());

private:
    bool claim();
    std::string save(const RecoverableStudy& study);

    StateFiles& files_;
    std::optional<FileLock> claim_; ///< while a study is open
};

/// JSON.
std::string sessionText(const RecoverableStudy& study);
/// Nothing where it is no JSON object; of one without a valid UID all but the time is empty.
std::optional<RecoverableStudy> sessionFrom(std::string_view text);

} // namespace zorbel
