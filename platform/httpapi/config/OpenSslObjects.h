#pragma once

/// OpenSSL's objects, each with the end that belongs to it.

#include <memory>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace Zn
{

template <auto TFree>
struct OpenSslFree
{
    template <class T>
    void operator()(T* AObject) const
    {
        TFree(AObject);
    }
};

using BioPtr = std::unique_ptr<BIO, OpenSslFree<BIO_free_all>>;
using BignumPtr = std::unique_ptr<BIGNUM, OpenSslFree<BN_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, OpenSslFree<EVP_PKEY_free>>;
using CertificatePtr = std::unique_ptr<X509, OpenSslFree<X509_free>>;
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, OpenSslFree<X509_EXTENSION_free>>;
using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, OpenSslFree<GENERAL_NAMES_free>>;

} // namespace Zn
