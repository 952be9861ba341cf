#include "platform/httpapi/tls/TlsStream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/httpapi/tls/TlsPort.h"

namespace Zn
{

/// The socket as OpenSSL sees it. Its own socket BIO would raise SIGPIPE and keep to itself whether a receive
/// emptied the socket, which an edge-triggered poller has to know.
struct SocketBio
{
    static TlsStream& Stream(BIO* ABio) { return *static_cast<TlsStream*>(BIO_get_data(ABio)); }

    static int Finish(BIO* ABio, ssize_t AResult, int ARetryFlag)
    {
        BIO_clear_retry_flags(ABio);
        if (AResult < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
            BIO_set_flags(ABio, ARetryFlag | BIO_FLAGS_SHOULD_RETRY);
        return static_cast<int>(AResult);
    }
    static int Read(BIO* ABio, char* ABuffer, int ALength)
    {
        const ssize_t Result = recv(Stream(ABio).FFd, ABuffer, static_cast<std::size_t>(ALength), 0);
        Stream(ABio).FSocketEmptied = Result < ALength;
        return Finish(ABio, Result, BIO_FLAGS_READ);
    }
    static int Write(BIO* ABio, const char* ABytes, int ALength)
    {
        const ssize_t Result =
            send(Stream(ABio).FFd, ABytes, static_cast<std::size_t>(ALength), MSG_NOSIGNAL);
        return Finish(ABio, Result, BIO_FLAGS_WRITE);
    }
    static long Control(BIO*, int ACommand, long, void*) { return ACommand == BIO_CTRL_FLUSH ? 1 : 0; }

    static BIO_METHOD* Method()
    {
        static BIO_METHOD* const Instance = [] {
            BIO_METHOD* const New = BIO_meth_new(BIO_get_new_index() | BIO_TYPE_SOURCE_SINK, "zn socket");
            BIO_meth_set_read(New, Read);
            BIO_meth_set_write(New, Write);
            BIO_meth_set_ctrl(New, Control);
            return New;
        }();
        return Instance;
    }
};

namespace
{

constexpr std::size_t RecordLength = 16384; // the largest TLS record

} // namespace

TlsStream::TlsStream(std::shared_ptr<const TlsPort> APort, int AFd)
    : FPort(std::move(APort)), FSession(FPort->NewSession()), FFd(AFd)
{
    BIO* const Socket = FSession != nullptr ? BIO_new(SocketBio::Method()) : nullptr;
    if (Socket == nullptr) {
        FFailed = true;
        return;
    }
    BIO_set_data(Socket, this);
    BIO_set_init(Socket, 1);
    SSL_set_bio(FSession, Socket, Socket);
    SSL_set_accept_state(FSession);
}

TlsStream::~TlsStream()
{
    SSL_free(FSession);
}

/// What SSL_get_error says of a result that is no success.
IoState TlsStream::StateOf(int AResult)
{
    switch (SSL_get_error(FSession, AResult)) {
    case SSL_ERROR_WANT_READ:
        FWantsWrite = false;
        return IoState::WouldBlock;
    case SSL_ERROR_WANT_WRITE:
        FWantsWrite = true;
        return IoState::WouldBlock;
    case SSL_ERROR_ZERO_RETURN:
        return IoState::Ended;
    default:
        FSawPlainHttp = ERR_GET_REASON(ERR_peek_error()) == SSL_R_HTTP_REQUEST;
        FFailed = true;
        ERR_clear_error();
        return IoState::Failed;
    }
}

IoState TlsStream::Handshake()
{
    if (FFailed)
        return IoState::Failed;
    ERR_clear_error();
    const int Result = SSL_do_handshake(FSession);
    if (Result != 1)
        return StateOf(Result);
    FEstablished = true;
    ReadPeer();
    return IoState::Done;
}

void TlsStream::ReadPeer()
{
    FPeer = std::make_unique<TlsPeer>();
    FPeer->Protocol = SSL_get_version(FSession);
    FPeer->Cipher = SSL_get_cipher_name(FSession);
    const std::unique_ptr<X509, decltype(&X509_free)> Certificate(SSL_get1_peer_certificate(FSession),
                                                                  X509_free);
    if (!Certificate)
        return;
    FPeer->HasCertificate = true;
    FPeer->Verified = SSL_get_verify_result(FSession) == X509_V_OK;
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> Text(BIO_new(BIO_s_mem()), BIO_free_all);
    X509_NAME_print_ex(Text.get(), X509_get_subject_name(Certificate.get()), 0,
                       XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
    char* Bytes = nullptr;
    const long Count = BIO_get_mem_data(Text.get(), &Bytes);
    constexpr long Longest = 4096; // a subject is a few names; more is nobody's
    FPeer->Subject.assign(Bytes, static_cast<std::size_t>(std::clamp(Count, 0L, Longest)));
}

IoResult TlsStream::Receive(void* ABuffer, std::size_t ALength)
{
    if (FFailed)
        return {IoState::Failed};
    ERR_clear_error();
    std::size_t Received = 0;
    const int Result = SSL_read_ex(FSession, ABuffer, ALength, &Received);
    if (Result != 1)
        return {StateOf(Result)};
    return {IoState::Done, Received, FSocketEmptied && SSL_has_pending(FSession) == 0};
}

bool TlsStream::HoldsInput() const
{
    return !FFailed && SSL_has_pending(FSession) != 0;
}

IoResult TlsStream::Write(const void* ABytes, std::size_t ALength)
{
    if (FFailed)
        return {IoState::Failed};
    ERR_clear_error();
    std::size_t Written = 0;
    const int Result = SSL_write_ex(FSession, ABytes, ALength, &Written);
    if (Result == 1)
        return {IoState::Done, Written};
    const IoState State = StateOf(Result);
    return {State == IoState::Ended ? IoState::Failed : State};
}

/// Small parts share a record: head and body of a short response cost one. A call that would have blocked is
/// repeated with the same bytes, as OpenSSL wants it.
IoResult TlsStream::Send(std::span<const iovec> AParts)
{
    if (AParts.front().iov_len >= RecordLength || AParts.size() == 1)
        return Write(AParts.front().iov_base, std::min(AParts.front().iov_len, RecordLength));
    thread_local std::array<char, RecordLength> Record;
    std::size_t Length = 0;
    for (const iovec& Each : AParts) {
        const std::size_t Part = std::min(Each.iov_len, Record.size() - Length);
        std::memcpy(Record.data() + Length, Each.iov_base, Part);
        Length += Part;
        if (Length == Record.size())
            break;
    }
    return Length > 0 ? Write(Record.data(), Length) : IoResult{IoState::Done};
}

IoResult TlsStream::SendFile(int AFile, std::uint64_t AOffset, std::uint64_t ALength)
{
    thread_local std::array<char, RecordLength> Record;
    const auto Wanted = static_cast<std::size_t>(std::min<std::uint64_t>(ALength, Record.size()));
    const ssize_t Count = pread(AFile, Record.data(), Wanted, static_cast<off_t>(AOffset));
    if (Count == 0)
        return {IoState::Ended};
    return Count > 0 ? Write(Record.data(), static_cast<std::size_t>(Count)) : IoResult{IoState::Failed};
}

void TlsStream::ReleaseBuffers()
{
    if (!FFailed && FEstablished)
        SSL_free_buffers(FSession);
}

void TlsStream::Shutdown()
{
    if (FFailed || !FEstablished)
        return;
    ERR_clear_error();
    SSL_shutdown(FSession);
    ERR_clear_error();
}

} // namespace Zn
