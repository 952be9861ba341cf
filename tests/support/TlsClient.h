#pragma once

// A TLS client on a RawClient's socket, and certificates made for a test by OpenSSL itself.

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include "tests/support/RawClient.h"

struct TestIdentity
{
    std::string Certificate; // PEM
    std::string Key;         // PEM
};

/// A self-signed certificate for the name, good for an hour.
inline TestIdentity MakeIdentity(const std::string& AName)
{
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> Key(
        EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"), EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> Certificate(X509_new(), X509_free);
    X509_set_version(Certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(Certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(Certificate.get()), -60);
    X509_gmtime_adj(X509_getm_notAfter(Certificate.get()), 3600);
    X509_set_pubkey(Certificate.get(), Key.get());
    X509_NAME* const Subject = X509_get_subject_name(Certificate.get());
    X509_NAME_add_entry_by_txt(Subject, "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(AName.c_str()), -1, -1, 0);
    X509_set_issuer_name(Certificate.get(), Subject);
    const std::unique_ptr<X509_EXTENSION, decltype(&X509_EXTENSION_free)> Names(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, ("DNS:" + AName).c_str()),
        X509_EXTENSION_free);
    X509_add_ext(Certificate.get(), Names.get(), -1);
    X509_sign(Certificate.get(), Key.get(), EVP_sha256());
    const auto Text = [](auto AWrite) {
        const std::unique_ptr<BIO, decltype(&BIO_free_all)> Out(BIO_new(BIO_s_mem()), BIO_free_all);
        AWrite(Out.get());
        char* Bytes = nullptr;
        const long Length = BIO_get_mem_data(Out.get(), &Bytes);
        return std::string(Bytes, static_cast<std::size_t>(Length));
    };
    return {Text([&](BIO* AOut) { PEM_write_bio_X509(AOut, Certificate.get()); }), Text([&](BIO* AOut) {
                PEM_write_bio_PrivateKey(AOut, Key.get(), nullptr, nullptr, 0, nullptr, nullptr);
            })};
}

class TlsClient
{
public:
    struct Options
    {
        std::string Host = "localhost";
        int MaxVersion = 0; // 0: the newest
        const TestIdentity* Identity = nullptr;
        SSL_SESSION* Resume = nullptr;
    };

    TlsClient(std::uint16_t APort, const Options& AOptions)
        : FContext(SSL_CTX_new(TLS_client_method()), SSL_CTX_free),
          FSocket(APort),
          FSession(nullptr, SSL_free)
    {
        if (AOptions.MaxVersion != 0)
            SSL_CTX_set_max_proto_version(FContext.get(), AOptions.MaxVersion);
        if (AOptions.MaxVersion != 0 && AOptions.MaxVersion < TLS1_2_VERSION)
            SSL_CTX_set_security_level(FContext.get(), 0); // so that it is the server who refuses
        if (AOptions.Identity != nullptr)
            Use(*AOptions.Identity);
        const timeval Limit{RawClient::Limit / 1000, 0};
        setsockopt(FSocket.Fd(), SOL_SOCKET, SO_RCVTIMEO, &Limit, sizeof Limit);
        FSession.reset(SSL_new(FContext.get()));
        SSL_set_fd(FSession.get(), FSocket.Fd());
        SSL_set_tlsext_host_name(FSession.get(), AOptions.Host.c_str());
        if (AOptions.Resume != nullptr)
            SSL_set_session(FSession.get(), AOptions.Resume);
        FConnected = SSL_connect(FSession.get()) == 1;
    }

    bool IsConnected() const { return FConnected; }
    SSL* Session() const { return FSession.get(); }
    bool Send(std::string_view AText)
    {
        return SSL_write(FSession.get(), AText.data(), static_cast<int>(AText.size())) ==
               static_cast<int>(AText.size());
    }
    /// The next response, which has to have a Content-Length.
    std::string Response()
    {
        std::size_t End;
        while ((End = FBuffer.find("\r\n\r\n")) == std::string::npos)
            if (!Receive())
                return std::exchange(FBuffer, {});
        End += 4;
        if (const auto At = FBuffer.find("Content-Length: "); At < End)
            End += std::stoull(FBuffer.substr(At + 16));
        while (FBuffer.size() < End)
            if (!Receive())
                return std::exchange(FBuffer, {});
        std::string Result = FBuffer.substr(0, End);
        FBuffer.erase(0, End);
        return Result;
    }
    std::string Ask(std::string_view ARequest)
    {
        Send(ARequest);
        return Response();
    }

private:
    void Use(const TestIdentity& AIdentity)
    {
        const std::unique_ptr<BIO, decltype(&BIO_free_all)> Certificate(
            BIO_new_mem_buf(AIdentity.Certificate.data(), -1), BIO_free_all);
        const std::unique_ptr<BIO, decltype(&BIO_free_all)> Key(BIO_new_mem_buf(AIdentity.Key.data(), -1),
                                                                BIO_free_all);
        const std::unique_ptr<X509, decltype(&X509_free)> Leaf(
            PEM_read_bio_X509(Certificate.get(), nullptr, nullptr, nullptr), X509_free);
        const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> Secret(
            PEM_read_bio_PrivateKey(Key.get(), nullptr, nullptr, nullptr), EVP_PKEY_free);
        SSL_CTX_use_certificate(FContext.get(), Leaf.get());
        SSL_CTX_use_PrivateKey(FContext.get(), Secret.get());
    }
    bool Receive()
    {
        char Bytes[16384];
        const int Count = SSL_read(FSession.get(), Bytes, sizeof Bytes);
        if (Count > 0)
            FBuffer.append(Bytes, static_cast<std::size_t>(Count));
        return Count > 0;
    }

    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> FContext;
    RawClient FSocket;
    std::unique_ptr<SSL, decltype(&SSL_free)> FSession;
    std::string FBuffer;
    bool FConnected = false;
};
