#include "platform/linux/TimeStamp.h"

#include "platform/SignatureRefused.h"
#include "platform/linux/CertificateTrust.h"
#include "platform/linux/SignedAttributes.h"

#include <openssl/crypto.h>
#include <openssl/objects.h>

#include <algorithm>
#include <string_view>

namespace zorbel {

namespace {

constexpr std::string_view counterSignature = "1.2.840.113549.1.9.6";
constexpr std::string_view timeStampToken = "1.3.6.1.4.1.311.3.3.1";
constexpr std::string_view nestedSignature = "1.3.6.1.4.1.311.2.4.1";

void require(bool holds) {
    if (!holds)
        throw SignatureRefused(SignatureRefused::badTimeStamp);
}

std::time_t secondsOf(const ASN1_TIME* time) {
    std::tm parts{};
    require(time != nullptr && ASN1_TIME_to_tm(time, &parts) == 1);
    return timegm(&parts);
}

std::time_t
counterSigned(Bytes encoded, Bytes signature, STACK_OF(X509) * certificates, const std::string& roots) {
    const unsigned char* at = encoded.data();
    const SignerInfoHandle signer(d2i_PKCS7_SIGNER_INFO(nullptr, &at, static_cast<long>(encoded.size())));
    require(signer && at == encoded.data() + encoded.size());
    X509* certificate = signerAmong(certificates, signer.get());
    checkSignedAttributes(signer.get(), certificate, "1.2.840.113549.1.7.1", signature);
    const ASN1_TYPE* told = PKCS7_get_signed_attribute(signer.get(), NID_pkcs9_signingTime);
    require(told != nullptr && (told->type == V_ASN1_UTCTIME || told->type == V_ASN1_GENERALIZEDTIME));
    const std::time_t when = secondsOf(told->value.asn1_string);
    checkCertificate(certificate, certificates, trustedStore(roots, when).get(), NID_time_stamp);
    return when;
}

std::time_t timeStamped(Bytes encoded, Bytes signature, const std::string& roots) {
    const unsigned char* at = encoded.data();
    const Pkcs7Handle token(d2i_PKCS7(nullptr, &at, static_cast<long>(encoded.size())));
    require(token && at == encoded.data() + encoded.size() && PKCS7_type_is_signed(token.get()));
    require(token->d.sign != nullptr && token->d.sign->contents != nullptr);
    const TimeStampInfoHandle info(PKCS7_to_TS_TST_INFO(token.get()));
    require(info != nullptr);
    const std::time_t when = secondsOf(TS_TST_INFO_get_time(info.get()));
    const auto* signers = PKCS7_get_signer_info(token.get());
    require(sk_PKCS7_SIGNER_INFO_num(signers) == 1);
    safeDigest(sk_PKCS7_SIGNER_INFO_value(signers, 0)->digest_alg);

    TS_MSG_IMPRINT* told = TS_TST_INFO_get_msg_imprint(info.get());
    const auto digest = digestOf(safeDigest(TS_MSG_IMPRINT_get_algo(told)), signature);
    const TimeStampContextHandle context(TS_VERIFY_CTX_new());
    require(context != nullptr);
    TS_VERIFY_CTX_set_flags(context.get(), TS_VFY_SIGNATURE | TS_VFY_VERSION | TS_VFY_IMPRINT);
    TS_VERIFY_CTX_set_store(context.get(), trustedStore(roots, when).release());
    // The context takes and frees them.
    TS_VERIFY_CTX_set_imprint(
        context.get(), static_cast<unsigned char*>(OPENSSL_memdup(digest.data(), digest.size())),
        static_cast<long>(digest.size()));
    require(TS_RESP_verify_token(context.get(), token.get()) == 1);
    return when;
}

} // namespace

std::optional<std::time_t>
timeStampOf(const PKCS7_SIGNER_INFO* signer, STACK_OF(X509) * certificates, const std::string& roots) {
    std::optional<std::time_t> when;
    const Bytes signature = bytesOf(signer->enc_digest);
    for (int i = 0; i < sk_X509_ATTRIBUTE_num(signer->unauth_attr); ++i) {
        X509_ATTRIBUTE* attribute = sk_X509_ATTRIBUTE_value(signer->unauth_attr, i);
        char name[64];
        OBJ_obj2txt(name, sizeof name, X509_ATTRIBUTE_get0_object(attribute), 1);
        if (name == nestedSignature)
            throw SignatureRefused(SignatureRefused::severalSignatures);
        if (name != counterSignature && name != timeStampToken)
            throw SignatureRefused(SignatureRefused::strayData);
        require(!when && X509_ATTRIBUTE_count(attribute) == 1);
        const ASN1_TYPE* value = X509_ATTRIBUTE_get0_type(attribute, 0);
        require(value != nullptr && value->type == V_ASN1_SEQUENCE);
        const Bytes encoded = bytesOf(value->value.sequence);
        try {
            when = name == timeStampToken ? timeStamped(encoded, signature, roots)
                                          : counterSigned(encoded, signature, certificates, roots);
        } catch (const SignatureRefused&) {
            require(false);
        }
    }
    return when;
}

} // namespace zorbel
