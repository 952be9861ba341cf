#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/httpapi/config/Configuration.h"
#include "platform/httpapi/config/OpenSslObjects.h"

namespace Zn
{

/// A certificate as it was read from a PEM text, and what people want to know of it.
struct CertificateContent
{
    PemFiles Pem; // Key stays empty where the text has no key that fits
    std::string Thumbprint;
    std::string Subject; // RFC 4514
    std::string Issuer;
    std::string Names;          // the server's names and addresses, ", " between them
    std::int64_t NotBefore = 0; // seconds since 1970
    std::int64_t NotAfter = 0;
};

/// Reads certificates and a key in any order. The certificate is the one that fits the key, the first where
/// none does; the others are its chain, in their order. False where there is no certificate. Keys under a
/// password count as absent.
bool ReadCertificateText(std::string_view AText, CertificateContent& AResult);

/// SHA-1 of the certificate, in lower-case hexadecimal digits.
std::string ThumbprintOf(const X509& ACertificate);

/// Empty where OpenSSL can't write it.
std::string CertificateToPem(const X509& ACertificate);
std::string KeyToPem(const EVP_PKEY& AKey);

} // namespace Zn
