#pragma once

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pkcs7.h>
#include <openssl/ts.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <memory>
#include <span>

namespace zorbel {

template <auto release>
struct OpenSslRelease {
    template <class T>
    void operator()(T* handle) const {
        release(handle);
    }
};

template <class T, auto release>
using OpenSslHandle = std::unique_ptr<T, OpenSslRelease<release>>;

using BioHandle = OpenSslHandle<BIO, BIO_free_all>;
using DigestHandle = OpenSslHandle<EVP_MD_CTX, EVP_MD_CTX_free>;
using Pkcs7Handle = OpenSslHandle<PKCS7, PKCS7_free>;
using SignerInfoHandle = OpenSslHandle<PKCS7_SIGNER_INFO, PKCS7_SIGNER_INFO_free>;
using StoreHandle = OpenSslHandle<X509_STORE, X509_STORE_free>;
using StoreContextHandle = OpenSslHandle<X509_STORE_CTX, X509_STORE_CTX_free>;
using CertificateHandle = OpenSslHandle<X509, X509_free>;
using TimeStampContextHandle = OpenSslHandle<TS_VERIFY_CTX, TS_VERIFY_CTX_free>;
using TimeStampInfoHandle = OpenSslHandle<TS_TST_INFO, TS_TST_INFO_free>;

using Bytes = std::span<const std::uint8_t>;

inline Bytes bytesOf(const ASN1_STRING* text) {
    return {ASN1_STRING_get0_data(text), static_cast<std::size_t>(ASN1_STRING_length(text))};
}

} // namespace zorbel
