#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace zorbel::demo {

/// An Orthanc with the DICOMweb plugin on a free loopback port, with a temporary storage folder and a random
/// password. The process and its folder live as long as this object; when this program dies, the system ends
/// Orthanc, and the next OrthancProcess of any program removes the folder left behind.
class OrthancProcess {
public:
    /// Returns when Orthanc answers. Throws std::runtime_error with a text for the user when it is not
    /// installed or does not start.
    OrthancProcess();
    ~OrthancProcess();
    OrthancProcess(const OrthancProcess&) = delete;
    OrthancProcess& operator=(const OrthancProcess&) = delete;

    int port() const { return port_; }
    int processId() const;
    /// Value of the Authorization header that lets a request in.
    const std::string& authorization() const { return authorization_; }
    /// Holds configuration, storage and log.
    const std::filesystem::path& folder() const { return folder_; }
    bool isRunning() const;
    /// Ends the process at once, as a crash would; the folder stays until destruction.
    void kill();

private:
    class Keeper;

    void launch(const std::string& program, const std::string& password);
    void writeConfiguration(const std::string& password) const;
    bool waitUntilReady() const;
    std::string lastLogLines() const;

    int port_ = 0;
    int lock_ = -1;
    std::string authorization_;
    std::filesystem::path folder_;
    std::unique_ptr<Keeper> keeper_;
};

} // namespace zorbel::demo
