#pragma once

#include <chrono>
#include <cstdint>

#include "common/Streams.h"
#include "platform/Api.h"
#include "uZnTCPClient/ClientSocket.h"

/// The bytes of a connection as a stream that can't seek.
///
/// Threads:   that of the socket.
/// Ownership: borrows the socket.
/// Errors:    ESocketError for a failed call; EStreamError for Seek, GetSize and SetSize.
class ZN_API TWinSocketStream : public TStream
{
public:
    /// ATimeOut in ms: the longest pause of a Read or Write.
    TWinSocketStream(TClientSocket& ASocket, std::int32_t ATimeOut) : FSocket(ASocket), FTimeOut(ATimeOut) {}

    /// True if data can be read within that time, in ms. An end of the connection counts as data.
    bool WaitForData(std::int32_t ATimeout);

    /// What is there; waits for the first byte. 0 when the time is over, and when the other side has closed:
    /// the socket isn't active any more then.
    std::int64_t Read(void* ABuffer, std::int64_t ACount) override;
    /// Writes all. ESocketError 10060 when nothing could be sent for the time-out.
    std::int64_t Write(const void* ABuffer, std::int64_t ACount) override;

    std::int64_t Seek(std::int64_t AOffset, TSeekOrigin AOrigin) override;
    std::int64_t GetSize() const override;
    void SetSize(std::int64_t ASize) override;

private:
    TClientSocket& FSocket;
    std::chrono::milliseconds FTimeOut;
};
