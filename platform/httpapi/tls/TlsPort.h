#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/types.h>

namespace Zn
{

/// A certificate chain with its key, both as PEM text.
struct TlsIdentity
{
    std::string Certificate;
    std::string Key;
};

struct TlsPortSettings
{
    TlsIdentity Default;                  // for clients that name no host, or one that no certificate covers
    std::vector<TlsIdentity> Others;      // chosen by the host that the client names (SNI, RFC 6066, 3)
    bool AskForClientCertificate = false; // the client may decline; who it is, is told with each request
    std::string ClientAuthorities;        // PEM; what client certificates are verified against
};

/// What the connections of one https port share: certificates, protocol versions, session tickets.
///
/// TLS 1.2 and 1.3; forward-secret authenticated ciphers only; sessions are resumed by tickets; ALPN
/// http/1.1. Threads: immutable once made; any.
class TlsPort
{
public:
    /// 0, or 1312 when a certificate or its key is missing, unreadable, or not each other's.
    static std::uint32_t Make(const TlsPortSettings& ASettings, std::shared_ptr<TlsPort>& AResult);

    TlsPort(const TlsPort&) = delete;
    TlsPort& operator=(const TlsPort&) = delete;
    ~TlsPort();

    /// A session for a new connection; the caller's. nullptr without memory.
    SSL* NewSession() const;

private:
    struct Named
    {
        std::shared_ptr<SSL_CTX> Context;
        std::shared_ptr<X509> Certificate;
    };

    TlsPort() = default;
    std::uint32_t Load(const TlsIdentity& AIdentity, const TlsPortSettings& ASettings, Named& AResult);
    SSL_CTX* ContextFor(const char* AHost) const;
    static int ChooseByName(SSL* ASession, int* AAlert, void* ASelf);

    Named FDefault;
    std::vector<Named> FOthers;
};

} // namespace Zn
