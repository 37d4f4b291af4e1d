#pragma once

#include <filesystem>
#include <string>

namespace zorbel {

/// Whose signature an installer carries, or why it is not to be trusted.
struct InstallerSignature {
    std::string
        signerThumbprint; ///< SHA-1 of the signer's certificate, 40 upper-case hex digits; empty: refused
    std::string refusal;  ///< why, as the end of a sentence, for the user; empty: it is to be trusted

    bool isTrusted() const { return refusal.empty(); }
};

/// Verifies the Authenticode signature of a Windows program: one signature, over the whole file, by somebody
/// who may sign programs and whose certificate leads to a trusted root, valid when it was time-stamped or, if
/// it was not, now. Who that is, the caller compares. Refused is also what Windows would let pass but an
/// installer never has: a second signature in the file, data beside the signature, sections that overlap.
/// trustedRoots: certificates in PEM that take the place of the system's; Windows always asks its own. Any
/// thread; reads the whole file. Never throws for what the file holds.
InstallerSignature
verifyInstallerSignature(const std::filesystem::path& installer, const std::string& trustedRoots = {});

} // namespace zorbel
