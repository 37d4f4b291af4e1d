#pragma once

#include "platform/linux/OpenSslHandles.h"

#include <ctime>
#include <optional>
#include <string>

namespace zorbel {

/// When the signature was made by a time-stamp of RFC 3161 or a counter-signature of PKCS #9 that is trusted;
/// nothing when it has none. Throws SignatureRefused for one that is not to be trusted, for more than one,
/// and for every other attribute that no signature covers. certificates: those the message brings along.
std::optional<std::time_t>
timeStampOf(const PKCS7_SIGNER_INFO* signer, STACK_OF(X509) * certificates, const std::string& roots);

} // namespace zorbel
