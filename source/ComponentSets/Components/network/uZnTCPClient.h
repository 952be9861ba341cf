#pragma once

/// A blocking TCP client for services that speak in commands and answers.
///
/// Include this header; the folder uZnTCPClient/ holds its parts.

#include <cstdint>
#include <string>

#include "platform/Api.h"
#include "uZnTCPClient/ClientSocket.h"
#include "uZnTCPClient/SocketStream.h"

/// Sends bytes and reads an answer up to its last byte, such as a line feed.
///
/// Use:       set Host (or Address) and Port, then Send or SendCmd, which connect by themselves.
/// Threads:   one at a time; every call waits on the calling thread, which also runs the events.
/// Ownership: AOwner frees it.
/// Errors:    a failure of the connection raises ESocketError and disconnects; the next call connects
///            anew. EZnSocketWaitForData: no answer within TimeOut, the connection stays.
///            EZnSocketNotAllDataRetrieved: the other side closed within the answer.
class ZN_API TZnTCPClient : public TClientSocket
{
public:
    explicit TZnTCPClient(TComponent* AOwner = nullptr);

    /// How long SendCmd waits for an answer to begin, and Send for the other side to take bytes, in ms.
    /// Default 10000. With 0 the answer is looked for once, for 100 ms.
    std::int32_t GetTimeOut() const { return FTimeOut; }
    void SetTimeOut(std::int32_t AValue) { FTimeOut = AValue; }

    /// The longest answer that SendCmd takes, in bytes. Default 1 GiB. A longer one is ESocketError 10040.
    std::int64_t GetMaxAnswerLength() const { return FMaxAnswerLength; }
    void SetMaxAnswerLength(std::int64_t AValue) { FMaxAnswerLength = AValue; }

    /// Connects now instead of at the first send. Raises ESocketError.
    void Connect() { SetActive(true); }
    /// Closes the connection; the next call makes a new one.
    void Disconnect() { SetActive(false); }

    /// Sends all bytes.
    void Send(const std::string& ACmd);

    /// Sends all bytes and gives the answer, ATerminator included. The answer ends with a block of up to
    /// 1024 bytes whose last byte is ATerminator, or with a pause of a second; a terminator inside a block
    /// ends nothing.
    std::string SendCmd(const std::string& ACmd, char ATerminator);

protected:
    /// True when data came within ATimeout ms; raises EZnSocketWaitForData for ARaise otherwise.
    bool InternalWaitForData(TWinSocketStream& AStream, std::int32_t ATimeout, bool ARaise);
    /// Copies the answer to ATarget.
    void InternalReadSocket(TWinSocketStream& AStream, TStream& ATarget, char ATerminator);

private:
    std::int32_t FTimeOut = 10000;
    std::int64_t FMaxAnswerLength = std::int64_t{1} << 30;
};
