#pragma once

/// The HTTP service's certificate store: what ports can be bound to (TZnHTTPServerSSLList). One thread, as
/// the configuration lists.
///
/// A store has a name, "my" where none is given, and belongs to the machine or to the user as the tables do.
/// Thumbprints are SHA-1, 40 hexadecimal digits. All raise EZnHTTPException with the platform's number: 5
/// without the right to write, 123 for a name that no store can have; and EAssertionFailed where a replaced
/// service lacks the operation.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Api.h"

/// A certificate of the store, as ZnListServerCertificates tells it.
struct TZnHTTPServerCertificate
{
    /// "my", or the store's other name.
    std::string StoreName;
    /// SHA-1 of its DER form, 40 hexadecimal digits: its name in the store.
    std::string ThumbPrint;
    std::string Subject; // RFC 4514
    /// Who vouches for it.
    std::string Issuer;
    std::string Names;          // names and addresses of the server, ", " between them
    std::int64_t NotBefore = 0; // seconds since 1970
    /// The end of its time, in seconds since 1970.
    std::int64_t NotAfter = 0;
    /// The key is there and fits.
    bool HasKey = false;
};

constexpr std::int32_t cZnCertificateDays = 825; // the longest that clients accept

/// Makes a certificate for a name ("www.example.org", "*.example.org") or an address, signed by its own new
/// key (ECDSA, P-256); the thumbprint. 87 for another AHost, or ADays not in 1 to 36500.
ZN_API std::string ZnCreateServerCertificate(const std::string& AHost, const std::string& AStoreName = "my",
                                             std::int32_t ADays = cZnCertificateDays);

/// Adds a certificate with its key and chain (PEM, in any order); the thumbprint. 13 for a text without a
/// certificate, 1312 for one without the certificate's key, or with a password on it.
ZN_API std::string ZnImportServerCertificate(std::string_view APem, const std::string& AStoreName = "my");

/// Bindings to it stay in their list. 2 where the store has no such certificate.
ZN_API void ZnDeleteServerCertificate(const std::string& AThumbPrint, const std::string& AStoreName = "my");

/// By store, then by file name; of all stores for an empty name.
ZN_API std::vector<TZnHTTPServerCertificate> ZnListServerCertificates(const std::string& AStoreName = {});
