#pragma once

#include <stdexcept>

namespace zorbel {

/// Why a signature is not to be trusted; the text is the end of a sentence, for the user.
struct SignatureRefused : std::runtime_error {
    using std::runtime_error::runtime_error;

    static constexpr char unreadable[] = "it could not be read";
    static constexpr char noProgram[] = "it is not a Windows program";
    static constexpr char damaged[] = "it is damaged";
    static constexpr char unsignedProgram[] = "it is not signed";
    static constexpr char severalSignatures[] = "it carries more than one signature";
    static constexpr char strayData[] = "it holds data outside its signature";
    static constexpr char badSignature[] = "its signature is damaged";
    static constexpr char otherContents[] = "its contents are not what was signed";
    static constexpr char weakMethod[] = "its signature uses a method that is no longer safe";
    static constexpr char untrustedSigner[] = "its signer is not trusted";
    static constexpr char expiredSigner[] = "its signer's certificate was not valid at the time";
    static constexpr char wrongUsage[] = "its signer's certificate is not meant for programs";
    static constexpr char badTimeStamp[] = "its time-stamp is not valid";
};

} // namespace zorbel
