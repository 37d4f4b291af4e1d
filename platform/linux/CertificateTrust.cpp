#include "platform/linux/CertificateTrust.h"

#include "platform/SignatureRefused.h"

#include <openssl/pem.h>
#include <openssl/x509_vfy.h>

namespace zorbel {

namespace {

/// The extended key usage: none, which allows all; this one; or others alone.
enum class Usage { Unrestricted, Named, Other };

Usage usageOf(const X509* certificate, int wanted) {
    int critical = -1;
    const OpenSslHandle<EXTENDED_KEY_USAGE, EXTENDED_KEY_USAGE_free> usages(static_cast<EXTENDED_KEY_USAGE*>(
        X509_get_ext_d2i(certificate, NID_ext_key_usage, &critical, nullptr)));
    if (!usages)
        return critical == -1 ? Usage::Unrestricted : Usage::Other; // -2: twice; 0, 1: unreadable
    for (int i = 0; i < sk_ASN1_OBJECT_num(usages.get()); ++i)
        if (OBJ_obj2nid(sk_ASN1_OBJECT_value(usages.get(), i)) == wanted)
            return Usage::Named;
    return Usage::Other;
}

bool maySign(X509* certificate) {
    return (X509_get_key_usage(certificate) & X509v3_KU_DIGITAL_SIGNATURE) != 0; // all bits without one
}

[[noreturn]] void refuse(int error) {
    switch (error) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
    case X509_V_ERR_CERT_NOT_YET_VALID:
        throw SignatureRefused(SignatureRefused::expiredSigner);
    case X509_V_ERR_CA_MD_TOO_WEAK:
    case X509_V_ERR_CA_KEY_TOO_SMALL:
    case X509_V_ERR_EE_KEY_TOO_SMALL:
        throw SignatureRefused(SignatureRefused::weakMethod);
    default:
        throw SignatureRefused(SignatureRefused::untrustedSigner);
    }
}

void addRoots(X509_STORE* store, const std::string& roots) {
    const BioHandle text(BIO_new_mem_buf(roots.data(), static_cast<int>(roots.size())));
    while (const CertificateHandle root{PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr)})
        X509_STORE_add_cert(store, root.get());
}

} // namespace

StoreHandle trustedStore(const std::string& roots, std::time_t at) {
    StoreHandle store(X509_STORE_new());
    if (!store)
        throw SignatureRefused(SignatureRefused::untrustedSigner);
    if (roots.empty())
        X509_STORE_set_default_paths(store.get());
    else
        addRoots(store.get(), roots);
    X509_VERIFY_PARAM* judging = X509_STORE_get0_param(store.get());
    X509_VERIFY_PARAM_set_time(judging, at);
    X509_VERIFY_PARAM_set_auth_level(judging, 2);
    return store;
}

void checkCertificate(X509* certificate, STACK_OF(X509) * others, X509_STORE* store, int usage) {
    const StoreContextHandle context(X509_STORE_CTX_new());
    if (!context || X509_STORE_CTX_init(context.get(), store, certificate, others) != 1)
        throw SignatureRefused(SignatureRefused::untrustedSigner);
    if (X509_verify_cert(context.get()) != 1)
        refuse(X509_STORE_CTX_get_error(context.get()));
    if (usageOf(certificate, usage) != Usage::Named || !maySign(certificate))
        throw SignatureRefused(SignatureRefused::wrongUsage);
    const STACK_OF(X509)* chain = X509_STORE_CTX_get0_chain(context.get());
    for (int i = 1; i + 1 < sk_X509_num(chain); ++i)
        if (usageOf(sk_X509_value(chain, i), usage) == Usage::Other)
            throw SignatureRefused(SignatureRefused::wrongUsage);
}

} // namespace zorbel
