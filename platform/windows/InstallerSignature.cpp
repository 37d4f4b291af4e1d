#include "platform/InstallerSignature.h"

#include "platform/SignatureRefused.h"
#include "platform/SignedProgram.h"

#include <windows.h>

#include <softpub.h>
#include <wincrypt.h>
#include <wintrust.h>

#include <cstddef>
#include <exception>
#include <fstream>
#include <memory>
#include <vector>

namespace zorbel {

namespace {

const char* refusalOf(LONG status) {
    switch (static_cast<DWORD>(status)) {
    case 0x800B0100: // TRUST_E_NOSIGNATURE
        return SignatureRefused::unsignedProgram;
    case 0x80096010: // TRUST_E_BAD_DIGEST
        return SignatureRefused::otherContents;
    case 0x800B0101: // CERT_E_EXPIRED
        return SignatureRefused::expiredSigner;
    case 0x800B0110: // CERT_E_WRONG_USAGE
    case 0x800B0106: // CERT_E_PURPOSE
        return SignatureRefused::wrongUsage;
    case 0x80096005: // TRUST_E_TIME_STAMP
        return SignatureRefused::badTimeStamp;
    case 0x80096004: // TRUST_E_CERT_SIGNATURE
    case 0x80091007: // CRYPT_E_HASH_VALUE
        return SignatureRefused::badSignature;
    default:
        return SignatureRefused::untrustedSigner;
    }
}

/// Whom to trust is not asked of the network: the one signer that is accepted is known to the caller, and an
/// update must not depend on the reachability of lists of revoked certificates.
void checkTrust(const std::filesystem::path& installer) {
    WINTRUST_FILE_INFO file{};
    file.cbStruct = sizeof file;
    file.pcwszFilePath = installer.c_str();
    WINTRUST_DATA data{};
    data.cbStruct = sizeof data;
    data.dwUIChoice = WTD_UI_NONE;
    data.fdwRevocationChecks = WTD_REVOKE_NONE;
    data.dwUnionChoice = WTD_CHOICE_FILE;
    data.pFile = &file;
    data.dwStateAction = WTD_STATEACTION_VERIFY;
    data.dwProvFlags = WTD_CACHE_ONLY_URL_RETRIEVAL;
    GUID action = WINTRUST_ACTION_GENERIC_VERIFY_V2;
    const auto nobody = static_cast<HWND>(INVALID_HANDLE_VALUE);
    const LONG status = WinVerifyTrust(nobody, &action, &data);
    data.dwStateAction = WTD_STATEACTION_CLOSE;
    WinVerifyTrust(nobody, &action, &data);
    if (status != ERROR_SUCCESS)
        throw SignatureRefused(refusalOf(status));
}

void require(bool holds) {
    if (!holds)
        throw SignatureRefused(SignatureRefused::badSignature);
}

struct CloseStore {
    void operator()(void* store) const { CertCloseStore(store, 0); }
};
struct CloseMessage {
    void operator()(void* message) const { CryptMsgClose(message); }
};
struct FreeCertificate {
    void operator()(const CERT_CONTEXT* certificate) const { CertFreeCertificateContext(certificate); }
};

std::string hexadecimal(const std::vector<BYTE>& bytes) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const BYTE byte : bytes)
        text += {digits[byte >> 4U], digits[byte & 15U]};
    return text;
}

/// Of a signature that is trusted: it can be read from one that is not, too.
std::string thumbprintOf(const std::filesystem::path& installer) {
    HCERTSTORE openedStore = nullptr;
    HCRYPTMSG openedMessage = nullptr;
    require(CryptQueryObject(
        CERT_QUERY_OBJECT_FILE, installer.c_str(), CERT_QUERY_CONTENT_FLAG_PKCS7_SIGNED_EMBED,
        CERT_QUERY_FORMAT_FLAG_BINARY, 0, nullptr, nullptr, nullptr, &openedStore, &openedMessage, nullptr));
    const std::unique_ptr<void, CloseStore> store(openedStore);
    const std::unique_ptr<void, CloseMessage> message(openedMessage);

    DWORD size = 0;
    require(CryptMsgGetParam(message.get(), CMSG_SIGNER_CERT_INFO_PARAM, 0, nullptr, &size));
    std::vector<std::max_align_t> room(size / sizeof(std::max_align_t) + 1);
    require(CryptMsgGetParam(message.get(), CMSG_SIGNER_CERT_INFO_PARAM, 0, room.data(), &size));
    const std::unique_ptr<const CERT_CONTEXT, FreeCertificate> certificate(CertGetSubjectCertificateFromStore(
        store.get(), X509_ASN_ENCODING | PKCS_7_ASN_ENCODING, reinterpret_cast<CERT_INFO*>(room.data())));
    require(certificate != nullptr);
    std::vector<BYTE> digest(20);
    DWORD digestSize = static_cast<DWORD>(digest.size());
    require(CertGetCertificateContextProperty(
        certificate.get(), CERT_SHA1_HASH_PROP_ID, digest.data(), &digestSize));
    require(digestSize == digest.size());
    return hexadecimal(digest);
}

} // namespace

InstallerSignature verifyInstallerSignature(const std::filesystem::path& installer, const std::string&) {
    try {
        {
            std::ifstream file(installer, std::ios::binary);
            if (!file)
                throw SignatureRefused(SignatureRefused::unreadable);
            SignedProgram::read(file); // stricter than the system
        }
        checkTrust(installer);
        return {thumbprintOf(installer), {}};
    } catch (const SignatureRefused& refused) {
        return {{}, refused.what()};
    } catch (const std::exception&) { // no memory left
        return {{}, SignatureRefused::unreadable};
    }
}

} // namespace zorbel
