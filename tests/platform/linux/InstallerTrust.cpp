#include "tests/platform/InstallerTrust.h"

namespace zorbel::test {

InstallerTrust::InstallerTrust(const std::filesystem::path&) {}
InstallerTrust::~InstallerTrust() = default;

bool finds(const std::string&, const std::string&) {
    return true;
}

bool names(const std::string&) {
    return true;
}

} // namespace zorbel::test
