#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>

using SSL_CTX = struct ssl_ctx_st;
using X509_STORE_CTX = struct x509_store_ctx_st;
using SSL = struct ssl_st;
using X509 = struct x509_st;
using EVP_PKEY = struct evp_pkey_st;

namespace Zn::HttpClient
{

/// A client certificate with its key, as it was given. The bytes are wiped at the end.
class ClientCertificate
{
public:
    enum class Format { Pem, Pkcs12 };

    /// 0, or 13 (no certificate), 86 (wrong password), 12185 (no key).
    static std::uint32_t FromBytes(std::string ABytes, std::string APassword,
                                   std::shared_ptr<const ClientCertificate>& AResult);
    ClientCertificate(std::string ABytes, std::string APassword, Format AFormat);
    ~ClientCertificate();
    ClientCertificate(const ClientCertificate&) = delete;
    ClientCertificate& operator=(const ClientCertificate&) = delete;

    const std::string& Bytes() const { return FBytes; }
    const std::string& Password() const { return FPassword; }
    Format Kind() const { return FFormat; }
    bool operator==(const ClientCertificate& AOther) const;

private:
    std::string FBytes;
    std::string FPassword;
    Format FFormat;
};

/// Faults of a server's certificate that may be forgiven; the bits of WINHTTP_OPTION_SECURITY_FLAGS.
enum CertificateFault : std::uint32_t {
    UnknownAuthority = 0x100,
    WrongUsage = 0x200,
    WrongName = 0x1000,
    WrongDate = 0x2000
};

/// TLS versions; the bits of WINHTTP_OPTION_SECURE_PROTOCOLS.
enum TlsVersion : std::uint32_t { Tls12 = 2048, Tls13 = 8192 };

/// What a certificate says of itself, as a user is shown it.
struct CertificateFacts
{
    bool Known = false;         // else there is none to tell of
    std::string Subject;        // RFC 4514, UTF-8, without control characters
    std::string Issuer;         // the same
    std::int64_t NotBefore = 0; // seconds since 1970, UTC
    std::int64_t NotAfter = 0;
    std::array<std::uint8_t, 32> Fingerprint{}; // SHA-256 of its bytes
};

/// What a secure connection has to be. Connections are shared only among requests that agree in it.
struct TlsPolicy
{
    std::uint32_t Forgiven = 0; // sum of CertificateFault
    std::uint32_t Versions = Tls12 | Tls13;
    bool Revocation = false;     // a stapled answer "revoked" ends the handshake
    std::string AuthoritiesFile; // empty: the system's
    std::shared_ptr<const ClientCertificate> Certificate;

    bool operator==(const TlsPolicy& AOther) const;
};

/// Watches the handshakes of one transfer: forgives what the policy forgives, and remembers what it didn't.
class TlsChecks
{
public:
    explicit TlsChecks(const TlsPolicy& APolicy) : FPolicy(APolicy) {}

    /// Before a handshake that uses AContext, which has to end before this object.
    void Attach(SSL_CTX* AContext);
    void Clear();
    /// The number for the fault that ended a handshake, 0 for none.
    std::uint32_t Fault() const { return FFault; }
    /// The server asked for a certificate and there was none to give.
    bool CertificateMissed() const { return FCertificateMissed; }
    /// The server's own, of the last handshake since Clear.
    CertificateFacts PeerCertificate() const;

private:
    static int OnVerify(int AGood, X509_STORE_CTX* AChain);
    static int OnCertificateAsked(SSL* AConnection, X509** ACertificate, EVP_PKEY** AKey);
    static int OnStapled(SSL* AConnection, void* AChecks);
    bool Forgives(int AError) const;

    const TlsPolicy& FPolicy;
    std::uint32_t FFault = 0;
    bool FCertificateMissed = false;
    std::shared_ptr<X509> FPeer;
};

} // namespace Zn::HttpClient
