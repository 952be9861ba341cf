#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Api.h"

/// The certificate of one https port, for the servers of this process; it comes ahead of what the SSL binding
/// list says.
struct TZnHTTPPortCertificate
{
    /// Of the https bindings that it is for.
    std::uint16_t Port = 443;
    std::string Certificate;              // PEM: the certificate, then its chain
    std::string Key;                      // PEM, not encrypted
    bool AskForClientCertificate = false; // a client may decline; pSslInfo of the request tells who it is
    std::string ClientAuthorities;        // PEM; what client certificates are verified against
};

namespace Zn
{

/// The port certificates of one server, handed to the service when it is loaded.
class PortCertificates
{
public:
    /// Takes the place of an earlier one for the port. While the service is loaded it takes effect for the
    /// connections to come. Raises EZnHTTPException 1312 when certificate and key are not each other's, and
    /// keeps what there was.
    ZN_API void Set(TZnHTTPPortCertificate ACertificate);
    /// Hands all of them over. Raises as Set.
    void Apply() const;

private:
    std::vector<TZnHTTPPortCertificate> FCertificates;
};

} // namespace Zn
