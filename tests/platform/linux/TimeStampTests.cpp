#include "platform/InstallerSignature.h"
#include "platform/SignatureRefused.h"
#include "platform/linux/AuthenticodeMessage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zorbel {
namespace {

/// Why the installer would be refused in 40 years, when all certificates have expired.
std::string refusalLater(const std::string& name) {
    const std::filesystem::path folder = std::getenv("ZORBEL_INSTALLERS");
    std::ifstream roots(folder / "roots.pem");
    std::ifstream file(folder / name, std::ios::binary);
    try {
        const std::time_t later = std::time(nullptr) + 40LL * 366 * 24 * 3600;
        verifyAuthenticode(
            SignedProgram::read(file), file, {std::istreambuf_iterator<char>(roots), {}}, later);
        return {};
    } catch (const SignatureRefused& refused) {
        return refused.what();
    }
}

TEST(TimeStamp, KeepsASignatureValidWhenItsCertificateHasExpired) {
    EXPECT_EQ(refusalLater("good stamped"), "");
    EXPECT_EQ(refusalLater("good counter-signed"), "");
    EXPECT_EQ(refusalLater("good"), SignatureRefused::expiredSigner);
}

TEST(InstallerTrust, IsTheSystemsWhereNoRootsAreGiven) {
    const std::filesystem::path folder = std::getenv("ZORBEL_INSTALLERS");
    EXPECT_EQ(verifyInstallerSignature(folder / "good").refusal, SignatureRefused::untrustedSigner);
}

} // namespace
} // namespace zorbel
