#pragma once

#include "demo/Loopback.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zorbel::demo {

class OrthancProcess;

/// Orthanc as the gateway sees it: what is stored belongs to an organization, and only that one may see it.
/// Safe from any thread.
class DemoArchive {
public:
    explicit DemoArchive(const OrthancProcess& orthanc);

    /// Returns false when the instance was there already. Throws std::runtime_error with the archive's
    /// reason.
    bool store(std::string_view dicomFile, const std::string& organizationId);

    /// The organization's studies as the study list sends them, newest first.
    std::vector<nlohmann::json> studyRows(const std::string& organizationId) const;

    bool ownsStudy(const std::string& organizationId, const std::string& studyId) const;
    bool ownsSeries(const std::string& organizationId, const std::string& seriesId) const;
    bool ownsInstance(const std::string& organizationId, const std::string& instanceId) const;
    /// Orthanc's id of the organization's study; empty when it has none of that UID.
    std::string studyWithUid(const std::string& organizationId, const std::string& studyInstanceUid) const;

    std::unique_ptr<LoopbackReply> open(const std::string& target, const std::string& accept = {}) const;

private:
    nlohmann::json getJson(const std::string& target) const;
    bool owns(
        const std::map<std::string, std::string>& parents, const std::string& organizationId,
        const std::string& id) const;

    const OrthancProcess& orthanc_;
    mutable std::mutex mutex_;
    std::map<std::string, std::string> organizationOfStudy_;
    std::map<std::string, std::string> studyOfSeries_;
    std::map<std::string, std::string> studyOfInstance_;
};

} // namespace zorbel::demo
