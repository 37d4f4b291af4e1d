#pragma once

#include "demo/word/DeskReport.h"
#include "demo/word/DeskTemplate.h"

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zorbel::demo {

/// The reports of the demo service with their immutable versions, and the sessions in which they are edited.
/// All in memory, gone with the service. Safe from any thread.
class WordDesk {
public:
    enum class Refusal {
        None,
        UnknownTemplate,
        UnknownSession, ///< also another organization's
        ExpiredSession,
        NoPackage, ///< not a zip file with its directory
        Conflict   ///< somebody else made a version since; told once, then a save makes one on top
    };

    struct Opened {
        Refusal refusal = Refusal::None;
        DeskSession session;
        DeskReport report;
    };
    struct Saved {
        Refusal refusal = Refusal::None;
        bool created = false; ///< false where the newest version holds these very bytes
        DeskVersion newest;
    };

    explicit WordDesk(std::vector<DeskTemplate> templates);

    const std::vector<DeskTemplate>& templates() const { return templates_; }

    /// A new report from the template, by default the first, with a session for it. After
    /// continueReports(true) the study's report from that template goes on, where there is one.
    Opened open(
        const std::string& organizationId, const std::string& studyInstanceUid,
        const std::string& templateId);
    /// The newest version, or why not.
    Saved newest(const std::string& organizationId, const std::string& sessionId);
    Saved save(
        const std::string& organizationId, const std::string& userId, const std::string& sessionId,
        std::string bytes);

    std::vector<DeskReport> reports() const; ///< oldest first
    /// Empty for an unknown report.
    std::vector<DeskVersion> versions(const std::string& reportId) const;
    std::optional<DeskVersion> version(const std::string& versionId) const;

    /// Makes a version of the report as if somebody else had saved it; its bytes are the newest ones with
    /// another comment of the zip file. Its id, empty for an unknown report.
    std::string makeConflict(const std::string& reportId);
    /// Of the sessions opened from now on, 8 hours at first.
    void setSessionLifetime(std::chrono::seconds lifetime);
    /// All sessions opened so far answer that they have expired.
    void expireSessions();
    /// All sessions opened so far are unknown from now on.
    void forgetSessions();
    void continueReports(bool yes);

private:
    DeskReport& addReport(
        const std::string& organizationId, const std::string& studyInstanceUid, const DeskTemplate& made);
    const DeskVersion&
    addVersion(DeskReport& report, std::shared_ptr<const std::string> bytes, const std::string& userId);
    DeskReport* report(const std::string& reportId);
    std::pair<Refusal, DeskSession*> session(const std::string& organizationId, const std::string& sessionId);

    const std::vector<DeskTemplate> templates_;
    mutable std::mutex mutex_;
    std::vector<DeskReport> reports_;
    std::map<std::string, DeskSession> sessions_;
    std::chrono::seconds lifetime_ = std::chrono::hours(8);
    bool continueReports_ = false;
};

} // namespace zorbel::demo
