#include "platform/linux/AuthenticodeMessage.h"

#include "platform/SignatureRefused.h"
#include "platform/linux/CertificateTrust.h"
#include "platform/linux/SignedAttributes.h"
#include "platform/linux/TimeStamp.h"

#include <openssl/crypto.h>
#include <openssl/objects.h>

#include <algorithm>
#include <bit>
#include <ctime>

namespace zorbel {

namespace {

constexpr char indirectData[] = "1.3.6.1.4.1.311.2.1.4";
constexpr char programImage[] = "1.3.6.1.4.1.311.2.1.15";

void require(bool holds, const char* otherwise = SignatureRefused::badSignature) {
    if (!holds)
        throw SignatureRefused(otherwise);
}

/// The next element of the bytes, which has the tag, without its head; the bytes then begin after it.
Bytes takeElement(Bytes& bytes, int tag) {
    const unsigned char* at = bytes.data();
    long size = 0;
    int foundTag = 0;
    int foundClass = 0;
    const int form = ASN1_get_object(&at, &size, &foundTag, &foundClass, static_cast<long>(bytes.size()));
    // 0x80: unreadable, 0x01: of indefinite length
    require((form & 0x81) == 0 && foundTag == tag && foundClass == V_ASN1_UNIVERSAL);
    const auto head = static_cast<std::size_t>(at - bytes.data());
    const Bytes content = bytes.subspan(head, static_cast<std::size_t>(size));
    bytes = bytes.subspan(head + static_cast<std::size_t>(size));
    return content;
}

bool isObject(const ASN1_OBJECT* object, const char* dotted) {
    const OpenSslHandle<ASN1_OBJECT, ASN1_OBJECT_free> wanted(OBJ_txt2obj(dotted, 1));
    return wanted && OBJ_cmp(object, wanted.get()) == 0;
}

/// What is signed in place of the program: its digest.
struct ProgramDigest {
    const EVP_MD* method = nullptr;
    Bytes value;
};

ProgramDigest programDigest(Bytes content) {
    Bytes type = takeElement(content, V_ASN1_SEQUENCE);
    const Bytes typeStart = type;
    takeElement(type, V_ASN1_OBJECT);
    const unsigned char* at = typeStart.data();
    const OpenSslHandle<ASN1_OBJECT, ASN1_OBJECT_free> kind(
        d2i_ASN1_OBJECT(nullptr, &at, static_cast<long>(typeStart.size())));
    require(kind && isObject(kind.get(), programImage));

    Bytes info = takeElement(content, V_ASN1_SEQUENCE);
    require(content.empty());
    at = info.data();
    const OpenSslHandle<X509_ALGOR, X509_ALGOR_free> algorithm(
        d2i_X509_ALGOR(nullptr, &at, static_cast<long>(info.size())));
    require(algorithm != nullptr);
    info = info.subspan(static_cast<std::size_t>(at - info.data()));
    ProgramDigest digest{safeDigest(algorithm.get()), takeElement(info, V_ASN1_OCTET_STRING)};
    require(info.empty());
    return digest;
}

class FileDigest {
public:
    FileDigest(std::istream& file, const EVP_MD* method) : file_(file), context_(EVP_MD_CTX_new()) {
        require(context_ && EVP_DigestInit_ex(context_.get(), method, nullptr) == 1);
    }

    void add(std::uint64_t begin, std::uint64_t end) {
        std::vector<char> block(1U << 16U);
        file_.clear();
        file_.seekg(static_cast<std::streamoff>(begin));
        while (begin < end) {
            const std::uint64_t count = std::min<std::uint64_t>(block.size(), end - begin);
            file_.read(block.data(), static_cast<std::streamsize>(count));
            require(file_.good(), SignatureRefused::unreadable);
            require(EVP_DigestUpdate(context_.get(), block.data(), count) == 1);
            begin += count;
        }
    }

    std::vector<std::uint8_t> result() {
        std::vector<std::uint8_t> digest(EVP_MAX_MD_SIZE);
        unsigned size = 0;
        require(EVP_DigestFinal_ex(context_.get(), digest.data(), &size) == 1);
        digest.resize(size);
        return digest;
    }

private:
    std::istream& file_;
    DigestHandle context_;
};

void checkProgramDigest(const ProgramDigest& told, const SignedProgram& program, std::istream& file) {
    FileDigest digest(file, told.method);
    digest.add(0, program.checksumAt);
    digest.add(program.checksumAt + 4, program.directoryEntryAt);
    digest.add(program.directoryEntryAt + 8, program.tableAt);
    const auto actual = digest.result();
    require(
        actual.size() == told.value.size() &&
            CRYPTO_memcmp(actual.data(), told.value.data(), actual.size()) == 0,
        SignatureRefused::otherContents);
}

/// What the message signs, without the head of its element: that is what the digest goes over.
Bytes signedContent(const PKCS7_SIGNED* message) {
    require(
        message != nullptr && message->contents != nullptr && message->cert != nullptr &&
        isObject(message->contents->type, indirectData));
    const ASN1_TYPE* other = message->contents->d.other;
    require(other != nullptr && other->type == V_ASN1_SEQUENCE);
    Bytes element = bytesOf(other->value.sequence);
    const Bytes content = takeElement(element, V_ASN1_SEQUENCE);
    require(element.empty());
    return content;
}

std::string thumbprintOf(const X509* certificate) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    require(X509_digest(certificate, EVP_sha1(), digest, &size) == 1);
    constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : std::span(digest, size))
        text += {digits[byte >> 4U], digits[byte & 15U]};
    return text;
}

} // namespace

std::string verifyAuthenticode(
    const SignedProgram& program, std::istream& file, const std::string& trustedRoots, std::time_t now) {
    const unsigned char* at = program.signature.data();
    const Pkcs7Handle message(d2i_PKCS7(nullptr, &at, static_cast<long>(program.signature.size())));
    require(message && at == program.signature.data() + program.signature.size());
    require(PKCS7_type_is_signed(message.get()));
    const PKCS7_SIGNED* parts = message->d.sign;
    const Bytes content = signedContent(parts);
    const ProgramDigest digest = programDigest(content);
    checkProgramDigest(digest, program, file);

    require(sk_PKCS7_SIGNER_INFO_num(parts->signer_info) >= 1);
    require(sk_PKCS7_SIGNER_INFO_num(parts->signer_info) == 1, SignatureRefused::severalSignatures);
    PKCS7_SIGNER_INFO* signer = sk_PKCS7_SIGNER_INFO_value(parts->signer_info, 0);
    require(safeDigest(signer->digest_alg) == digest.method);
    X509* certificate = signerAmong(parts->cert, signer);
    checkSignedAttributes(signer, certificate, indirectData, content);
    const std::time_t when = timeStampOf(signer, parts->cert, trustedRoots).value_or(now);
    checkCertificate(certificate, parts->cert, trustedStore(trustedRoots, when).get(), NID_code_sign);
    return thumbprintOf(certificate);
}

} // namespace zorbel
