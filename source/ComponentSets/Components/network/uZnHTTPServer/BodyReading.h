#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "common/Streams.h"
#include "uZnHTTPH.h"

namespace Zn
{

/// The code page of a body's text: the charset of its content type, taken as it stands up to the
/// next ";" (ISO-8859-1 for one that the library doesn't know); without one UTF-8 for XML and JSON,
/// ISO-8859-1 for "text/...", else the system's.
std::uint16_t BodyCodePage(std::string_view AContentType);

/// Receives the body of one request into a stream, straight into its memory.
class BodyReader
{
public:
    /// AStep: how many bytes a body of unknown length grows at least. AMaxSize: see
    /// TZnCustomHTTPServer::GetMaxBodySize.
    BodyReader(THandle AReqQueue, HTTP_REQUEST_ID ARequestId, std::uint32_t AStep, std::int64_t AMaxSize)
        : FReqQueue(AReqQueue), FRequestId(ARequestId), FStep(AStep), FMaxSize(AMaxSize)
    {
    }

    /// A body of exactly ALength bytes. Raises EAbort when it ends before.
    void ReadLength(TZnStringStream& ABody, std::int64_t ALength);
    /// A body up to its end.
    void ReadChunked(TZnStringStream& ABody);

    /// Bytes so far, also after a failure.
    std::int64_t GetReceived() const { return FReceived; }

private:
    std::uint32_t Receive(TZnStringStream& ABody);
    static void SetSize(TZnStringStream& ABody, std::int64_t ASize);
    [[noreturn]] static void RaiseTooLarge();
    [[noreturn]] static void RaiseIncomplete();
    static void CheckConnection(std::uint32_t AStatus);

    const THandle FReqQueue;
    const HTTP_REQUEST_ID FRequestId;
    const std::uint32_t FStep;
    const std::int64_t FMaxSize;
    std::int64_t FReceived = 0;
    std::uint32_t FLastRead = 0;
};

} // namespace Zn
