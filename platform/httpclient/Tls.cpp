#include "platform/httpclient/Tls.h"

#include <ctime>

#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/ocsp.h>
#include <openssl/pem.h>
#include <openssl/pkcs12.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

#include "platform/errors/Errors.h"

namespace Zn::HttpClient
{

namespace
{

template <auto Free>
struct Deleter
{
    template <class T>
    void operator()(T* AObject) const
    {
        Free(AObject);
    }
};
using Bio = std::unique_ptr<BIO, Deleter<BIO_free>>;
using Certificate = std::unique_ptr<X509, Deleter<X509_free>>;
using Key = std::unique_ptr<EVP_PKEY, Deleter<EVP_PKEY_free>>;
using Pkcs12 = std::unique_ptr<PKCS12, Deleter<PKCS12_free>>;
using OcspResponse = std::unique_ptr<OCSP_RESPONSE, Deleter<OCSP_RESPONSE_free>>;
using OcspBasic = std::unique_ptr<OCSP_BASICRESP, Deleter<OCSP_BASICRESP_free>>;
using OcspId = std::unique_ptr<OCSP_CERTID, Deleter<OCSP_CERTID_free>>;

Bio Reader(const std::string& ABytes)
{
    return Bio(BIO_new_mem_buf(ABytes.data(), static_cast<int>(ABytes.size())));
}

/// Without a password nothing is read from a terminal.
int GivePassword(char* ABuffer, int ASize, int /*ARwFlag*/, void* APassword)
{
    const auto& Password = *static_cast<const std::string*>(APassword);
    if (Password.size() > static_cast<std::size_t>(ASize))
        return -1;
    return static_cast<int>(Password.copy(ABuffer, Password.size()));
}

std::uint32_t CheckPkcs12(PKCS12* AStore, const std::string& APassword)
{
    EVP_PKEY* RawKey = nullptr;
    X509* RawCertificate = nullptr;
    if (PKCS12_parse(AStore, APassword.c_str(), &RawKey, &RawCertificate, nullptr) != 1)
        return ERROR_INVALID_PASSWORD;
    const Key OwnedKey(RawKey);
    const Certificate OwnedCertificate(RawCertificate);
    if (!OwnedCertificate)
        return ERROR_INVALID_DATA;
    return OwnedKey ? NO_ERROR : ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY;
}

std::uint32_t CheckPem(const std::string& ABytes, std::string& APassword)
{
    const Certificate Leaf(PEM_read_bio_X509(Reader(ABytes).get(), nullptr, GivePassword, &APassword));
    if (!Leaf)
        return ERROR_INVALID_DATA;
    if (ABytes.find("PRIVATE KEY-----") == std::string::npos)
        return ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY;
    const Key Private(PEM_read_bio_PrivateKey(Reader(ABytes).get(), nullptr, GivePassword, &APassword));
    if (!Private)
        return ERROR_INVALID_PASSWORD;
    return X509_check_private_key(Leaf.get(), Private.get()) == 1 ? NO_ERROR
                                                                  : ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY;
}

/// A name in one line (RFC 4514): UTF-8, with what could write over a terminal escaped.
std::string TextOf(const X509_NAME* AName)
{
    const Bio Text(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(Text.get(), AName, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
    char* Bytes = nullptr;
    const long Length = BIO_get_mem_data(Text.get(), &Bytes);
    return Length > 0 ? std::string(Bytes, static_cast<std::size_t>(Length)) : std::string();
}

std::int64_t SecondsOf(const ASN1_TIME* ATime)
{
    std::tm Parts{};
    return ASN1_TIME_to_tm(ATime, &Parts) == 1 ? timegm(&Parts) : 0;
}

int ChecksIndex()
{
    static const int Index = SSL_CTX_get_ex_new_index(0, nullptr, nullptr, nullptr, nullptr);
    return Index;
}

TlsChecks& ChecksOf(SSL* AConnection)
{
    return *static_cast<TlsChecks*>(SSL_CTX_get_ex_data(SSL_get_SSL_CTX(AConnection), ChecksIndex()));
}

/// The kind of a verification error (see verify(1)); 0 for what is never forgiven.
std::uint32_t FaultOf(int AError)
{
    switch (AError) {
    case X509_V_ERR_CERT_NOT_YET_VALID:
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return WrongDate;
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
    case X509_V_ERR_CERT_UNTRUSTED:
        return UnknownAuthority;
    case X509_V_ERR_INVALID_PURPOSE:
        return WrongUsage;
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return WrongName;
    default:
        return 0;
    }
}

std::uint32_t NumberOf(int AError)
{
    switch (FaultOf(AError)) {
    case WrongDate:
        return ERROR_WINHTTP_SECURE_CERT_DATE_INVALID;
    case UnknownAuthority:
        return ERROR_WINHTTP_SECURE_INVALID_CA;
    case WrongUsage:
        return ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE;
    case WrongName:
        return ERROR_WINHTTP_SECURE_CERT_CN_INVALID;
    default:
        return AError == X509_V_ERR_CERT_REVOKED ? ERROR_WINHTTP_SECURE_CERT_REVOKED
                                                 : ERROR_WINHTTP_SECURE_FAILURE;
    }
}

/// Whether the stapled answer (RFC 6066, 8; RFC 6960), signed by one of the chain or of the store, says that
/// the server's certificate is revoked.
bool SaysRevoked(SSL* AConnection, OCSP_BASICRESP* AAnswer)
{
    STACK_OF(X509)* Chain = SSL_get0_verified_chain(AConnection);
    if (Chain == nullptr || sk_X509_num(Chain) < 2)
        return false;
    X509_STORE* Store = SSL_CTX_get_cert_store(SSL_get_SSL_CTX(AConnection));
    if (OCSP_basic_verify(AAnswer, Chain, Store, 0) != 1)
        return false;
    const OcspId Id(OCSP_cert_to_id(EVP_sha1(), sk_X509_value(Chain, 0), sk_X509_value(Chain, 1)));
    int Status = V_OCSP_CERTSTATUS_UNKNOWN;
    return Id != nullptr &&
           OCSP_resp_find_status(AAnswer, Id.get(), &Status, nullptr, nullptr, nullptr, nullptr) == 1 &&
           Status == V_OCSP_CERTSTATUS_REVOKED;
}

} // namespace

std::uint32_t ClientCertificate::FromBytes(std::string ABytes, std::string APassword,
                                           std::shared_ptr<const ClientCertificate>& AResult)
{
    constexpr std::size_t cMaxLength = 1U << 20;
    if (ABytes.size() > cMaxLength)
        return ERROR_INVALID_DATA;
    const Pkcs12 Store(d2i_PKCS12_bio(Reader(ABytes).get(), nullptr));
    const std::uint32_t Error = Store ? CheckPkcs12(Store.get(), APassword) : CheckPem(ABytes, APassword);
    ERR_clear_error();
    // Owned before the check's result counts, so that the bytes are wiped either way.
    auto Result = std::make_shared<const ClientCertificate>(std::move(ABytes), std::move(APassword),
                                                            Store ? Format::Pkcs12 : Format::Pem);
    if (Error == NO_ERROR)
        AResult = std::move(Result);
    return Error;
}

ClientCertificate::ClientCertificate(std::string ABytes, std::string APassword, Format AFormat)
    : FBytes(std::move(ABytes)), FPassword(std::move(APassword)), FFormat(AFormat)
{
}

ClientCertificate::~ClientCertificate()
{
    OPENSSL_cleanse(FBytes.data(), FBytes.size());
    OPENSSL_cleanse(FPassword.data(), FPassword.size());
}

bool ClientCertificate::operator==(const ClientCertificate& AOther) const
{
    return FBytes == AOther.FBytes && FPassword == AOther.FPassword;
}

bool TlsPolicy::operator==(const TlsPolicy& AOther) const
{
    const bool SameCertificate = Certificate == AOther.Certificate ||
                                 (Certificate && AOther.Certificate && *Certificate == *AOther.Certificate);
    return SameCertificate && Forgiven == AOther.Forgiven && Versions == AOther.Versions &&
           Revocation == AOther.Revocation && AuthoritiesFile == AOther.AuthoritiesFile;
}

void TlsChecks::Clear()
{
    FFault = 0;
    FCertificateMissed = false;
    FPeer.reset();
}

CertificateFacts TlsChecks::PeerCertificate() const
{
    CertificateFacts Result;
    if (!FPeer)
        return Result;
    Result.Known = true;
    Result.Subject = TextOf(X509_get_subject_name(FPeer.get()));
    Result.Issuer = TextOf(X509_get_issuer_name(FPeer.get()));
    Result.NotBefore = SecondsOf(X509_get0_notBefore(FPeer.get()));
    Result.NotAfter = SecondsOf(X509_get0_notAfter(FPeer.get()));
    X509_digest(FPeer.get(), EVP_sha256(), Result.Fingerprint.data(), nullptr);
    ERR_clear_error();
    return Result;
}

void TlsChecks::Attach(SSL_CTX* AContext)
{
    SSL_CTX_set_ex_data(AContext, ChecksIndex(), this);
    SSL_CTX_set_verify(AContext, SSL_CTX_get_verify_mode(AContext), OnVerify);
    if (!FPolicy.Certificate)
        SSL_CTX_set_client_cert_cb(AContext, OnCertificateAsked);
    if (FPolicy.Revocation) {
        SSL_CTX_set_tlsext_status_type(AContext, TLSEXT_STATUSTYPE_ocsp);
        SSL_CTX_set_tlsext_status_cb(AContext, OnStapled);
    }
}

bool TlsChecks::Forgives(int AError) const
{
    return (FPolicy.Forgiven & FaultOf(AError)) != 0;
}

int TlsChecks::OnVerify(int AGood, X509_STORE_CTX* AChain)
{
    auto* Connection =
        static_cast<SSL*>(X509_STORE_CTX_get_ex_data(AChain, SSL_get_ex_data_X509_STORE_CTX_idx()));
    TlsChecks& Checks = ChecksOf(Connection);
    if (X509* const Peer = X509_STORE_CTX_get0_cert(AChain); Peer != Checks.FPeer.get() && Peer != nullptr) {
        X509_up_ref(Peer);
        Checks.FPeer.reset(Peer, X509_free);
    }
    if (AGood == 1)
        return 1;
    const int Error = X509_STORE_CTX_get_error(AChain);
    if (Checks.Forgives(Error)) {
        X509_STORE_CTX_set_error(AChain, X509_V_OK); // libcurl looks at the result once more
        return 1;
    }
    Checks.FFault = NumberOf(Error);
    return 0;
}

int TlsChecks::OnCertificateAsked(SSL* AConnection, X509** /*ACertificate*/, EVP_PKEY** /*AKey*/)
{
    ChecksOf(AConnection).FCertificateMissed = true;
    return 0;
}

int TlsChecks::OnStapled(SSL* AConnection, void* /*AChecks*/)
{
    const unsigned char* Bytes = nullptr;
    const long Length = SSL_get_tlsext_status_ocsp_resp(AConnection, &Bytes);
    if (Bytes == nullptr || Length <= 0)
        return 1; // nothing stapled: most servers don't
    const OcspResponse Response(d2i_OCSP_RESPONSE(nullptr, &Bytes, Length));
    const OcspBasic Basic(Response ? OCSP_response_get1_basic(Response.get()) : nullptr);
    const bool Revoked = Basic && SaysRevoked(AConnection, Basic.get());
    ERR_clear_error();
    if (Revoked)
        ChecksOf(AConnection).FFault = ERROR_WINHTTP_SECURE_CERT_REVOKED;
    return Revoked ? 0 : 1;
}

} // namespace Zn::HttpClient
