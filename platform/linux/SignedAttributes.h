#pragma once

#include "platform/linux/OpenSslHandles.h"

#include <optional>
#include <vector>

namespace zorbel {

/// SHA-256, -384 or -512; throws SignatureRefused for every other algorithm.
const EVP_MD* safeDigest(const X509_ALGOR* algorithm);

std::vector<std::uint8_t> digestOf(const EVP_MD* method, Bytes bytes);

/// The signer's certificate among those that a message brings along. Throws SignatureRefused.
X509* signerAmong(STACK_OF(X509) * certificates, const PKCS7_SIGNER_INFO* signer);

/// Holds a signature against what it signs: its signed attributes tell the content's type and digest, and are
/// signed with the certificate's key. Throws SignatureRefused.
void checkSignedAttributes(
    PKCS7_SIGNER_INFO* signer, X509* certificate, const char* contentType, Bytes content);

} // namespace zorbel
