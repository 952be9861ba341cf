#include "platform/httpapi/tls/TlsPort.h"

#include <cstring>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "platform/errors/Errors.h"

namespace Zn
{
namespace
{

// TLS 1.2: ephemeral keys and authenticated encryption only. TLS 1.3 has nothing else.
constexpr const char* Ciphers = "ECDHE+AESGCM:ECDHE+CHACHA20";
constexpr unsigned char SessionContext[] = "zn-http";

struct BioFree
{
    void operator()(BIO* ABio) const { BIO_free_all(ABio); }
};
using BioPtr = std::unique_ptr<BIO, BioFree>;

BioPtr ReadFrom(const std::string& AText)
{
    return BioPtr(BIO_new_mem_buf(AText.data(), static_cast<int>(AText.size())));
}

/// No key is encrypted here: without this, OpenSSL would ask for the password on the terminal.
int NoPassword(char*, int, int, void*)
{
    return 0;
}

std::shared_ptr<X509> ReadCertificate(BIO* ABio)
{
    return {PEM_read_bio_X509(ABio, nullptr, NoPassword, nullptr), X509_free};
}

bool UseChain(SSL_CTX* AContext, const std::string& APem, std::shared_ptr<X509>& ALeaf)
{
    const BioPtr Source = ReadFrom(APem);
    ALeaf = ReadCertificate(Source.get());
    if (!ALeaf || SSL_CTX_use_certificate(AContext, ALeaf.get()) != 1)
        return false;
    while (const auto Next = ReadCertificate(Source.get()))
        if (SSL_CTX_add1_chain_cert(AContext, Next.get()) != 1)
            return false;
    ERR_clear_error(); // the end of the text is told as an error
    return true;
}

bool UseKey(SSL_CTX* AContext, const std::string& APem)
{
    const BioPtr Source = ReadFrom(APem);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> Key(
        PEM_read_bio_PrivateKey(Source.get(), nullptr, NoPassword, nullptr), EVP_PKEY_free);
    return Key && SSL_CTX_use_PrivateKey(AContext, Key.get()) == 1 &&
           SSL_CTX_check_private_key(AContext) == 1;
}

void TrustAuthorities(SSL_CTX* AContext, const std::string& APem)
{
    const BioPtr Source = ReadFrom(APem);
    while (const auto Each = ReadCertificate(Source.get())) {
        X509_STORE_add_cert(SSL_CTX_get_cert_store(AContext), Each.get());
        SSL_CTX_add_client_CA(AContext, Each.get());
    }
    ERR_clear_error();
}

/// The application decides on a client's certificate: the verdict is told with the request.
int AcceptAnyVerdict(int, X509_STORE_CTX*)
{
    return 1;
}

/// HTTP/1.1 is all that is spoken here; a client that doesn't offer it in ALPN is served all the same.
int ChooseProtocol(SSL*, const unsigned char** AOut, unsigned char* AOutLength, const unsigned char* AOffered,
                   unsigned int AOfferedLength, void*)
{
    static constexpr unsigned char Ours[] = "\x08http/1.1";
    unsigned char* Chosen = nullptr;
    if (SSL_select_next_proto(&Chosen, AOutLength, Ours, sizeof Ours - 1, AOffered, AOfferedLength) !=
        OPENSSL_NPN_NEGOTIATED)
        return SSL_TLSEXT_ERR_NOACK;
    *AOut = Chosen;
    return SSL_TLSEXT_ERR_OK;
}

} // namespace

std::uint32_t TlsPort::Make(const TlsPortSettings& ASettings, std::shared_ptr<TlsPort>& AResult)
{
    std::shared_ptr<TlsPort> New(new TlsPort);
    if (const std::uint32_t Code = New->Load(ASettings.Default, ASettings, New->FDefault); Code != NO_ERROR)
        return Code;
    for (const TlsIdentity& Each : ASettings.Others) {
        Named Other;
        // One that can't be used leaves its host to the default; the port works without it.
        if (New->Load(Each, ASettings, Other) == NO_ERROR)
            New->FOthers.push_back(std::move(Other));
    }
    SSL_CTX_set_tlsext_servername_callback(New->FDefault.Context.get(), &TlsPort::ChooseByName);
    SSL_CTX_set_tlsext_servername_arg(New->FDefault.Context.get(), New.get());
    AResult = std::move(New);
    return NO_ERROR;
}

TlsPort::~TlsPort() = default;

std::uint32_t TlsPort::Load(const TlsIdentity& AIdentity, const TlsPortSettings& ASettings, Named& AResult)
{
    AResult.Context = {SSL_CTX_new(TLS_server_method()), SSL_CTX_free};
    SSL_CTX* const Context = AResult.Context.get();
    if (Context == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    SSL_CTX_set_min_proto_version(Context, TLS1_2_VERSION);
    SSL_CTX_set_cipher_list(Context, Ciphers);
    SSL_CTX_set_options(Context, SSL_OP_CIPHER_SERVER_PREFERENCE | SSL_OP_PRIORITIZE_CHACHA |
                                     SSL_OP_NO_RENEGOTIATION | SSL_OP_NO_COMPRESSION);
    // A blocked write may be repeated from another place. Record buffers are released when a connection
    // idles (TlsStream::ReleaseBuffers), not after each record: that would be a tenth of a small request.
    SSL_CTX_set_mode(Context, SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    SSL_CTX_set_read_ahead(Context, 1); // a record's header and body in one receive
    SSL_CTX_set_num_tickets(Context, 1);
    SSL_CTX_set_session_id_context(Context, SessionContext, sizeof SessionContext - 1);
    SSL_CTX_set_session_cache_mode(Context, SSL_SESS_CACHE_OFF); // tickets hold the state
    SSL_CTX_set_alpn_select_cb(Context, ChooseProtocol, nullptr);
    if (ASettings.AskForClientCertificate) {
        SSL_CTX_set_verify(Context, SSL_VERIFY_PEER, AcceptAnyVerdict);
        TrustAuthorities(Context, ASettings.ClientAuthorities);
    }
    const bool Usable =
        UseChain(Context, AIdentity.Certificate, AResult.Certificate) && UseKey(Context, AIdentity.Key);
    ERR_clear_error();
    return Usable ? NO_ERROR : ERROR_NO_SUCH_LOGON_SESSION;
}

SSL* TlsPort::NewSession() const
{
    return SSL_new(FDefault.Context.get());
}

SSL_CTX* TlsPort::ContextFor(const char* AHost) const
{
    const auto Covers = [&](const Named& AEntry) {
        return X509_check_host(AEntry.Certificate.get(), AHost, std::strlen(AHost), 0, nullptr) == 1;
    };
    if (Covers(FDefault))
        return FDefault.Context.get();
    for (const Named& Each : FOthers)
        if (Covers(Each))
            return Each.Context.get();
    return FDefault.Context.get();
}

int TlsPort::ChooseByName(SSL* ASession, int*, void* ASelf)
{
    const char* const Host = SSL_get_servername(ASession, TLSEXT_NAMETYPE_host_name);
    if (Host == nullptr)
        return SSL_TLSEXT_ERR_NOACK;
    SSL_set_SSL_CTX(ASession, static_cast<const TlsPort*>(ASelf)->ContextFor(Host));
    return SSL_TLSEXT_ERR_OK;
}

} // namespace Zn
