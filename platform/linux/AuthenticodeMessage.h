#pragma once

#include "platform/SignedProgram.h"

#include <ctime>
#include <istream>
#include <string>

namespace zorbel {

/// Verifies the signature of a program against its file: the SHA-1 thumbprint of the signer's certificate in
/// 40 upper-case hex digits. trustedRoots: PEM, empty means the system's. now: when a signature without a
/// time-stamp is taken to be made. Throws SignatureRefused.
std::string verifyAuthenticode(
    const SignedProgram& program, std::istream& file, const std::string& trustedRoots, std::time_t now);

} // namespace zorbel
