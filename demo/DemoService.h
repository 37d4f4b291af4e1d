#pragma once

#include "demo/DemoAccounts.h"
#include "demo/Fault.h"
#include "demo/ImportResult.h"
#include "demo/RequestRecord.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zorbel::demo {

class DemoLocalNode;
class OrthancProcess;
class ReleaseDesk;
class WordDesk;

/// The imaging service for development, tests and a first look: a gateway that speaks the service's REST API
/// on a free loopback port in front of an Orthanc of its own. Everything it holds lies in a temporary folder
/// and is gone with it. All calls are safe from any thread once start() has returned.
class DemoService {
public:
    struct Options {
        /// Put the phantom studies into the archive (seconds to make, once; then from the cache folder).
        bool phantoms = false;
        /// Give the demo organization a Local Node; with the phantoms it holds one of their studies,
        /// "CBCT WITH SCOUT".
        bool localNode = false;
        /// Folders of DICOM files to put into the archive as they are.
        std::vector<std::filesystem::path> imports{};
        /// Where made phantoms are kept; empty means "zorbel-demo" under the user's cache folder.
        std::filesystem::path cacheFolder{};
        /// 0 takes a free one.
        int port = 0;
        /// Told what an import did, one line at a time, on the thread that calls start().
        std::function<void(const std::string&)> notice{};
    };

    using ImportResult = demo::ImportResult;

    DemoService();
    explicit DemoService(Options options);
    /// Ends the gateway and Orthanc and removes their folder.
    ~DemoService();
    DemoService(const DemoService&) = delete;
    DemoService& operator=(const DemoService&) = delete;

    /// Returns when the service answers and the studies asked for are listed. Throws std::runtime_error, with
    /// a text for the user, when Orthanc is missing or does not start, or the port is taken.
    void start();
    void stop();

    /// "http://127.0.0.1:PORT", for ZORBEL_API_BASE_URL.
    std::string baseUrl() const;
    int port() const;

    /// Every DICOM file below the folder (or the one file), unchanged, into an organization's archive. Goes
    /// on past bad files.
    ImportResult
    uploadFolder(const std::filesystem::path& folder, const std::string& organizationId = demoOrganizationId);

    /// A valid bearer token, as if the account had signed in.
    std::string tokenFor(const DemoAccount& account);
    /// Makes every token invalid that was given out so far.
    void revokeTokens();
    /// Those of one account.
    void revokeTokens(const DemoAccount& account);

    /// Returns a number for removeFault.
    int setFault(const Fault& fault);
    void removeFault(int id);
    void clearFaults();

    /// Requests received whose path matches the shell pattern, oldest first.
    std::vector<RequestRecord> requests(const std::string& pathPattern = "*") const;
    std::size_t requestCount(const std::string& pathPattern = "*", const std::string& method = {}) const;
    void resetRequests();
    std::vector<AuditRecord> auditRecords() const;

    /// The archive behind the gateway, for tests that look at it or stop it.
    OrthancProcess& orthanc();
    /// Only with the option localNode.
    DemoLocalNode& localNode();
    /// The reports and their versions.
    WordDesk& wordDesk();
    /// The desktop's latest release.
    ReleaseDesk& releaseDesk();

private:
    struct Parts;

    void importAll();

    Options options_;
    std::unique_ptr<Parts> parts_;
};

} // namespace zorbel::demo
