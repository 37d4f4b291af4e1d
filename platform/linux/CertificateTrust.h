#pragma once

#include "platform/linux/OpenSslHandles.h"

#include <ctime>
#include <string>

namespace zorbel {

/// The roots that are trusted, those given in PEM or else the system's, with which chains are judged as they
/// stood at the time; keys and digests of less than 112 bits of security are refused. Throws SignatureRefused
/// when there are none.
StoreHandle trustedStore(const std::string& roots, std::time_t at);

/// Holds the certificate and what it leads to by way of the others against the store. Each certificate but
/// the root must allow the usage (such as NID_code_sign), and the first must name it. Throws
/// SignatureRefused.
void checkCertificate(X509* certificate, STACK_OF(X509) * others, X509_STORE* store, int usage);

} // namespace zorbel
