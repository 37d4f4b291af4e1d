#include "tests/platform/InstallerTrust.h"

#include "platform/SignatureRefused.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include <windows.h>

#include <wincrypt.h>

namespace zorbel::test {

namespace {

PCCERT_CONTEXT trusted = nullptr;

} // namespace

InstallerTrust::InstallerTrust(const std::filesystem::path& folder) {
    std::ifstream stream(folder / "root.der", std::ios::binary);
    const std::string der{std::istreambuf_iterator<char>(stream), {}};
    const HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    EXPECT_TRUE(CertAddEncodedCertificateToStore(
        store, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()), static_cast<DWORD>(der.size()),
        CERT_STORE_ADD_REPLACE_EXISTING, &trusted));
    CertCloseStore(store, 0);
}

InstallerTrust::~InstallerTrust() {
    CertDeleteCertificateFromStore(trusted);
}

bool finds(const std::string& name, const std::string& refusal) {
    // The system itself ignores what no signature covers.
    for (const char* ignored : {"kind of program changed", "second signature", "data beside the signature"})
        if (name == ignored)
            return false;
    const bool wine = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    if (!wine)
        return true;
    // Wine knows no elliptic curves, and trusts every certificate that is signed by way of SHA-256.
    for (const char* unknown : {"curve", "signer", "certificate", "method", "time-stamp"})
        if (name.find(unknown) != std::string::npos || refusal.find(unknown) != std::string::npos)
            return false;
    return true;
}

bool names(const std::string& refusal) {
    return refusal != SignatureRefused::badSignature;
}

} // namespace zorbel::test
