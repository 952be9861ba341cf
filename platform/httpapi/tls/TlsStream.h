#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include <openssl/types.h>

#include "platform/httpapi/Socket.h"

namespace Zn
{

class TlsPort;

/// Who stands at the other end of a TLS connection, as far as that was negotiated.
struct TlsPeer
{
    std::string Protocol; // "TLSv1.3"
    std::string Cipher;   // OpenSSL's name
    bool HasCertificate = false;
    bool Verified = false; // against the authorities of the port
    std::string Subject;   // RFC 2253, UTF-8
};

/// The TLS session between a socket and its user; blocks as little as the socket does.
///
/// Threads: one at a time, as the connection.
class TlsStream
{
public:
    /// AFd stays the caller's and outlives the stream.
    TlsStream(std::shared_ptr<const TlsPort> APort, int AFd);
    TlsStream(const TlsStream&) = delete;
    TlsStream& operator=(const TlsStream&) = delete;
    ~TlsStream();

    /// Done, WouldBlock, or Failed; to be called again with each event until Done.
    IoState Handshake();
    bool IsEstablished() const { return FEstablished; }
    /// The failure of the handshake was a plain HTTP request.
    bool SawPlainHttp() const { return FSawPlainHttp; }

    IoResult Receive(void* ABuffer, std::size_t ALength);
    IoResult Send(std::span<const iovec> AParts);
    IoResult SendFile(int AFile, std::uint64_t AOffset, std::uint64_t ALength);
    /// Tells the peer that nothing more comes (close_notify), as far as the socket takes it at once.
    void Shutdown();

    /// Gives back the memory of records, 34 KiB, as far as nothing stands in it; the next record takes it
    /// anew.
    void ReleaseBuffers();

    /// The last operation that would have blocked waits for the socket to become writable, whatever it was.
    bool WantsWrite() const { return FWantsWrite; }

    bool HoldsInput() const;

    /// Filled once the handshake is done.
    const TlsPeer& Peer() const { return *FPeer; }

private:
    friend struct SocketBio;
    IoResult Write(const void* ABytes, std::size_t ALength);
    IoState StateOf(int AResult);
    void ReadPeer();

    std::shared_ptr<const TlsPort> FPort; // holds the contexts that the session may switch to
    SSL* FSession = nullptr;
    const int FFd;
    bool FEstablished = false;
    bool FFailed = false; // nothing may be sent any more, not even a close_notify
    bool FSawPlainHttp = false;
    bool FWantsWrite = false;
    bool FSocketEmptied = false; // the last receive took all there was
    std::unique_ptr<TlsPeer> FPeer;
};

} // namespace Zn
