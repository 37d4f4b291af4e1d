#pragma once

#include "demo/DemoAccounts.h"
#include "demo/Fault.h"
#include "demo/ImportResult.h"
#include "demo/RequestRecord.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zorbel::demo {

class FaultBoard;
class OrthancProcess;

/// A clinic's on-site archive: the node's routes on a loopback port of their own in front of an Orthanc of
/// its own. It lets in who brings a token from openSession(), as the service hands them out to members of the
/// organization. Gone with all that it holds at its end. Safe from any thread, but for start() and stop().
class DemoLocalNode {
public:
    static constexpr const char* id = "node-demo-clinic";
    static constexpr const char* name = "Demo clinic node";
    static constexpr const char* appVersion = "1.0.0";

    struct Session {
        std::string token;
        int expiresInSeconds = 0;
    };

    /// Starts Orthanc; the node itself answers after start(). Throws std::runtime_error with a text for the
    /// user.
    DemoLocalNode();
    ~DemoLocalNode();
    DemoLocalNode(const DemoLocalNode&) = delete;
    DemoLocalNode& operator=(const DemoLocalNode&) = delete;

    /// Also after stop(), and then on the same port.
    void start();
    /// The node is dead: connections break off and no others are taken.
    void stop();
    bool isRunning() const;
    /// "http://127.0.0.1:PORT"
    std::string baseUrl() const;
    int port() const;

    /// Every DICOM file below the folder (or the one file), unchanged, into the node's archive.
    ImportResult uploadFolder(const std::filesystem::path& folder);

    /// A token for a member of the organization.
    Session openSession(const std::string& organizationId);
    /// How long the tokens are good that are handed out from now on, 600 at first; 0: not at all.
    void setExpiresInSeconds(int seconds);
    /// Makes every token invalid that was given out so far.
    void revokeTokens();
    /// Whose node this is, the demo organization's at first. A node of another organization tells its
    /// identity to whoever has a token, but its studies only to its own members.
    void setOrganization(const std::string& organizationId);

    /// Returns a number for removeFault.
    int setFault(const Fault& fault);
    void removeFault(int number);
    void clearFaults();
    FaultBoard& faults();

    /// Requests received whose path matches the shell pattern, oldest first.
    std::vector<RequestRecord> requests(const std::string& pathPattern = "*") const;
    std::size_t requestCount(const std::string& pathPattern = "*") const;
    void resetRequests();

    /// The archive behind the node, for tests that look at it or stop it.
    OrthancProcess& orthanc();

private:
    struct Parts;

    std::unique_ptr<Parts> parts_;
};

} // namespace zorbel::demo
