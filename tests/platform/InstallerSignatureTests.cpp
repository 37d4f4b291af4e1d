#include "platform/InstallerSignature.h"
#include "tests/platform/InstallerTrust.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace zorbel {
namespace {

std::string textOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

// The installers and what is to be said of each are made by installers.py.
TEST(InstallerSignature, TellsGoodInstallersFromBadOnesAndWhy) {
    const std::filesystem::path folder = std::getenv("ZORBEL_INSTALLERS");
    const test::InstallerTrust trust(folder);
    const std::string roots = textOf(folder / "roots.pem");
    std::ifstream cases(folder / "cases.tsv");
    std::string line;
    int good = 0;
    int bad = 0;
    while (std::getline(cases, line)) {
        const std::string name = line.substr(0, line.find('\t'));
        const std::string refusal = line.substr(line.find('\t') + 1);
        const InstallerSignature signature = verifyInstallerSignature(folder / name, roots);
        if (!test::finds(name, refusal))
            continue;
        if (refusal.empty() || test::names(refusal)) {
            EXPECT_EQ(signature.refusal, refusal) << name;
        } else {
            EXPECT_FALSE(signature.isTrusted()) << name;
        }
        EXPECT_EQ(signature.signerThumbprint.size(), signature.isTrusted() ? 40U : 0U) << name;
        (refusal.empty() ? good : bad) += 1;
    }
    EXPECT_GE(good, 4);
    EXPECT_GE(bad, 50);
    EXPECT_EQ(verifyInstallerSignature(folder / "none", roots).refusal, "it could not be read");
}

TEST(InstallerSignature, NamesTheSignersThumbprint) {
    const std::filesystem::path folder = std::getenv("ZORBEL_INSTALLERS");
    std::string told = textOf(folder / "thumbprint");
    const test::InstallerTrust trust(folder);
    EXPECT_EQ(verifyInstallerSignature(folder / "good", textOf(folder / "roots.pem")).signerThumbprint, told);
}

} // namespace
} // namespace zorbel
