#include "platform/linux/SignedAttributes.h"

#include "platform/SignatureRefused.h"

#include <openssl/crypto.h>
#include <openssl/objects.h>

namespace zorbel {

namespace {

[[noreturn]] void refuseSignature() {
    throw SignatureRefused(SignatureRefused::badSignature);
}

const ASN1_TYPE* attribute(const PKCS7_SIGNER_INFO* signer, int nid, int type) {
    const ASN1_TYPE* value = PKCS7_get_signed_attribute(signer, nid);
    if (value == nullptr || ASN1_TYPE_get(value) != type)
        refuseSignature();
    return value;
}

bool isObject(const ASN1_OBJECT* object, const char* dotted) {
    const OpenSslHandle<ASN1_OBJECT, ASN1_OBJECT_free> wanted(OBJ_txt2obj(dotted, 1));
    return wanted && OBJ_cmp(object, wanted.get()) == 0;
}

/// As they are signed: a set of their own, whatever tag they have in the message.
std::vector<std::uint8_t> encodedAttributes(PKCS7_SIGNER_INFO* signer) {
    unsigned char* encoded = nullptr;
    const int size = ASN1_item_i2d(
        reinterpret_cast<ASN1_VALUE*>(signer->auth_attr), &encoded, ASN1_ITEM_rptr(PKCS7_ATTR_VERIFY));
    if (size <= 0)
        refuseSignature();
    std::vector<std::uint8_t> bytes(encoded, encoded + size);
    OPENSSL_free(encoded);
    return bytes;
}

} // namespace

const EVP_MD* safeDigest(const X509_ALGOR* algorithm) {
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, algorithm);
    switch (OBJ_obj2nid(object)) {
    case NID_sha256:
        return EVP_sha256();
    case NID_sha384:
        return EVP_sha384();
    case NID_sha512:
        return EVP_sha512();
    default:
        throw SignatureRefused(SignatureRefused::weakMethod);
    }
}

std::vector<std::uint8_t> digestOf(const EVP_MD* method, Bytes bytes) {
    std::vector<std::uint8_t> digest(static_cast<std::size_t>(EVP_MD_get_size(method)));
    if (EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, method, nullptr) != 1)
        refuseSignature();
    return digest;
}

X509* signerAmong(STACK_OF(X509) * certificates, const PKCS7_SIGNER_INFO* signer) {
    const PKCS7_ISSUER_AND_SERIAL* name = signer->issuer_and_serial;
    X509* found = X509_find_by_issuer_and_serial(certificates, name->issuer, name->serial);
    if (found == nullptr)
        refuseSignature();
    return found;
}

void checkSignedAttributes(
    PKCS7_SIGNER_INFO* signer, X509* certificate, const char* contentType, Bytes content) {
    const EVP_MD* method = safeDigest(signer->digest_alg);
    if (!isObject(attribute(signer, NID_pkcs9_contentType, V_ASN1_OBJECT)->value.object, contentType))
        refuseSignature();
    const Bytes told =
        bytesOf(attribute(signer, NID_pkcs9_messageDigest, V_ASN1_OCTET_STRING)->value.octet_string);
    const auto digest = digestOf(method, content);
    if (told.size() != digest.size() || CRYPTO_memcmp(told.data(), digest.data(), digest.size()) != 0)
        refuseSignature();

    const auto attributes = encodedAttributes(signer);
    const Bytes signature = bytesOf(signer->enc_digest);
    const DigestHandle context(EVP_MD_CTX_new());
    EVP_PKEY* key = X509_get0_pubkey(certificate);
    if (!context || key == nullptr ||
        EVP_DigestVerifyInit(context.get(), nullptr, method, nullptr, key) != 1 ||
        EVP_DigestVerify(
            context.get(), signature.data(), signature.size(), attributes.data(), attributes.size()) != 1)
        refuseSignature();
}

} // namespace zorbel
