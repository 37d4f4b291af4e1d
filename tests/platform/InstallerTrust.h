#pragma once

#include <filesystem>
#include <string>

namespace zorbel::test {

/// Has the system trust the root of the installers in the folder while the object lives, where it is the
/// system that is asked.
class InstallerTrust {
public:
    explicit InstallerTrust(const std::filesystem::path& folder);
    ~InstallerTrust();
    InstallerTrust(const InstallerTrust&) = delete;
    InstallerTrust& operator=(const InstallerTrust&) = delete;
};

/// Whether the system under test judges this installer as it should; Wine lets pass what Windows does not.
bool finds(const std::string& name, const std::string& refusal);
/// Whether it also tells this reason from others.
bool names(const std::string& refusal);

} // namespace zorbel::test
