#include "demo/word/WordDesk.h"

#include "demo/Loopback.h"
#include "demo/word/ZipDirectory.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>

namespace zorbel::demo {

namespace {

using Clock = std::chrono::system_clock;

/// As services name their records: 8-4-4-4-12 hexadecimal digits.
std::string randomId() {
    std::string id = randomToken().substr(0, 32);
    for (const std::size_t at : {20, 16, 12, 8}) {
        id.insert(at, "-");
    }
    return id;
}

std::string sha256Of(const std::string& bytes) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), &size, EVP_sha256(), nullptr);
    std::string text;
    for (unsigned int i = 0; i < size; ++i) {
        constexpr const char* digits = "0123456789abcdef";
        text += {digits[digest[i] >> 4], digits[digest[i] & 15]};
    }
    return text;
}

} // namespace

WordDesk::WordDesk(std::vector<DeskTemplate> templates) : templates_(std::move(templates)) {}

WordDesk::Opened WordDesk::open(
    const std::string& organizationId, const std::string& studyInstanceUid, const std::string& templateId) {
    const auto made = std::find_if(templates_.begin(), templates_.end(), [&](const DeskTemplate& one) {
        return templateId.empty() || one.id == templateId;
    });
    if (made == templates_.end()) {
        return {Refusal::UnknownTemplate, {}, {}};
    }
    const std::lock_guard lock(mutex_);
    const auto known = std::find_if(reports_.rbegin(), reports_.rend(), [&](const DeskReport& one) {
        return one.organizationId == organizationId && one.studyInstanceUid == studyInstanceUid &&
               one.templateName == made->name;
    });
    const DeskReport& opened = continueReports_ && known != reports_.rend()
                                   ? *known
                                   : addReport(organizationId, studyInstanceUid, *made);
    const DeskSession session{
        randomId(), opened.id, organizationId, Clock::now() + lifetime_, opened.versions.back().number};
    sessions_.emplace(session.id, session);
    return {Refusal::None, session, opened};
}

WordDesk::Saved WordDesk::newest(const std::string& organizationId, const std::string& sessionId) {
    const std::lock_guard lock(mutex_);
    const auto [refusal, held] = session(organizationId, sessionId);
    if (refusal != Refusal::None) {
        return {refusal, false, {}};
    }
    const DeskVersion& newest = report(held->reportId)->versions.back();
    held->knownVersion = newest.number;
    return {Refusal::None, false, newest};
}

WordDesk::Saved WordDesk::save(
    const std::string& organizationId, const std::string& userId, const std::string& sessionId,
    std::string bytes) {
    const std::lock_guard lock(mutex_);
    const auto [refusal, held] = session(organizationId, sessionId);
    if (refusal != Refusal::None) {
        return {refusal, false, {}};
    }
    if (!hasZipDirectory(bytes)) {
        return {Refusal::NoPackage, false, {}};
    }
    DeskReport& saved = *report(held->reportId);
    const DeskVersion before = saved.versions.back();
    const bool told = held->knownVersion == before.number;
    held->knownVersion = before.number;
    if (*before.bytes == bytes) {
        return {Refusal::None, false, before};
    }
    if (!told) {
        return {Refusal::Conflict, false, before};
    }
    const DeskVersion& made =
        addVersion(saved, std::make_shared<const std::string>(std::move(bytes)), userId);
    held->knownVersion = made.number;
    return {Refusal::None, true, made};
}

std::vector<DeskReport> WordDesk::reports() const {
    const std::lock_guard lock(mutex_);
    return reports_;
}

std::vector<DeskVersion> WordDesk::versions(const std::string& reportId) const {
    for (const DeskReport& one : reports()) {
        if (one.id == reportId) {
            return one.versions;
        }
    }
    return {};
}

std::optional<DeskVersion> WordDesk::version(const std::string& versionId) const {
    for (const DeskReport& one : reports()) {
        for (const DeskVersion& version : one.versions) {
            if (version.id == versionId) {
                return version;
            }
        }
    }
    return std::nullopt;
}

std::string WordDesk::makeConflict(const std::string& reportId) {
    const std::lock_guard lock(mutex_);
    DeskReport* changed = report(reportId);
    if (changed == nullptr) {
        return {};
    }
    const DeskVersion& before = changed->versions.back();
    std::string bytes = withZipComment(*before.bytes, "version " + std::to_string(before.number + 1));
    return addVersion(*changed, std::make_shared<const std::string>(std::move(bytes)), {}).id;
}

void WordDesk::setSessionLifetime(std::chrono::seconds lifetime) {
    const std::lock_guard lock(mutex_);
    lifetime_ = lifetime;
}

void WordDesk::expireSessions() {
    const std::lock_guard lock(mutex_);
    for (auto& [id, one] : sessions_) {
        one.expires = Clock::time_point();
    }
}

void WordDesk::forgetSessions() {
    const std::lock_guard lock(mutex_);
    sessions_.clear();
}

void WordDesk::continueReports(bool yes) {
    const std::lock_guard lock(mutex_);
    continueReports_ = yes;
}

DeskReport& WordDesk::addReport(
    const std::string& organizationId, const std::string& studyInstanceUid, const DeskTemplate& made) {
    reports_.push_back(
        {randomId(), randomId(), organizationId, studyInstanceUid, made.name, made.fileName, {}});
    addVersion(reports_.back(), made.document, {});
    return reports_.back();
}

const DeskVersion& WordDesk::addVersion(
    DeskReport& report, std::shared_ptr<const std::string> bytes, const std::string& userId) {
    const int number = static_cast<int>(report.versions.size()) + 1;
    std::string digest = sha256Of(*bytes);
    report.versions.push_back(
        {randomId(), number, std::move(digest), userId, Clock::now(), std::move(bytes)});
    return report.versions.back();
}

DeskReport* WordDesk::report(const std::string& reportId) {
    const auto found = std::find_if(
        reports_.begin(), reports_.end(), [&](const DeskReport& one) { return one.id == reportId; });
    return found != reports_.end() ? &*found : nullptr;
}

std::pair<WordDesk::Refusal, DeskSession*>
WordDesk::session(const std::string& organizationId, const std::string& sessionId) {
    const auto found = sessions_.find(sessionId);
    if (found == sessions_.end() || found->second.organizationId != organizationId) {
        return {Refusal::UnknownSession, nullptr};
    }
    const bool over = found->second.expires <= Clock::now();
    return {over ? Refusal::ExpiredSession : Refusal::None, &found->second};
}

} // namespace zorbel::demo
