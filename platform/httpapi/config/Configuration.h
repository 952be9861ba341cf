#pragma once

/// What the service itself reads of its configuration store: certificates by port, and the addresses to
/// listen on. Each call reads the files anew, so that a change takes effect with the next registration.
/// Any thread.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Zn
{

/// The certificate that a port is bound to.
struct CertificateBinding
{
    std::string Store;      // never empty
    std::string Thumbprint; // SHA-1 of the certificate, 40 hexadecimal digits in lower case
    bool NegotiateClientCertificate = false;
};

/// Empty where the port has none. 0, or 13 where the store's file is damaged.
std::uint32_t FindCertificateBinding(std::uint16_t APort, std::optional<CertificateBinding>& AResult);

/// A certificate with its key, as PEM texts.
struct PemFiles
{
    std::string Certificate; // the certificate itself, then the others of its chain
    std::string Key;         // a secret: never to be logged
};

/// 0, or: 1312 where the store has no such certificate or not its key, 5 where its file may not be read,
/// 13 where the file is no PEM text, 123 for a name that no store can have.
std::uint32_t LoadCertificate(const std::string& AStore, const std::string& AThumbprint, PemFiles& AResult);

/// Every certificate of the store that has its key, by file name: what names of servers (SNI) are looked
/// for in.
std::vector<PemFiles> LoadAllCertificates(const std::string& AStore);

/// The IP listen list; empty means all addresses. 13 where the store's file is damaged: better not to listen
/// than to listen where nobody allowed it.
std::uint32_t LoadListenAddresses(std::vector<std::string>& AResult);

} // namespace Zn
