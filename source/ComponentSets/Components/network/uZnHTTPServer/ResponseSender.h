#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "uZnHTTPServer/Request.h"
#include "uZnHTTPServer/Response.h"

class TZnHTTPServerResponseThread;

namespace Zn
{

/// Turns a filled response into the service's record and chunks and sends it in two calls: the
/// head, which waits at the service, and the whole body.
///
/// Bodies aren't copied: chunks point into the response's own text or buffer or the stream's
/// memory, a file goes as a handle with a range. A response that can't be sent as it was promised
/// is left unfinished, which closes the connection.
class ResponseSender
{
public:
    ResponseSender(TZnHTTPServerResponseThread& AWorker, const TZnHTTPServerRequest& ARequest,
                   TZnHTTPServerResponse& AResponse)
        : FWorker(AWorker), FRequest(ARequest), FResponse(AResponse)
    {
    }
    ResponseSender(const ResponseSender&) = delete;
    ResponseSender& operator=(const ResponseSender&) = delete;

    void Send();

    /// A bare 500 with the response's reason, then disconnect: the answer to a negative status.
    void SendFailure();

private:
    void CheckSource() const;
    void SetStatus();
    void SetHeaders();
    void CompressText();
    void ChooseConnection();
    void MeasureContent();
    void SelectRange();
    void SetContentLength();
    bool SendHead();
    void SendBody();
    void SendFile();
    void SendStream();
    void SendMemory(const void* ABytes, std::uint64_t ALength);
    void SendNothing();

    bool HasNoContent() const;
    void SetKnown(THTTP_HEADER_ID AHeader, std::string_view AValue);
    std::string_view RequestHeader(THTTP_HEADER_ID AHeader) const;

    TZnHTTPServerResponseThread& FWorker;
    const TZnHTTPServerRequest& FRequest;
    TZnHTTPServerResponse& FResponse;

    THTTP_RESPONSE FHead{};
    THTTP_UNKNOWN_HEADERS FUnknownHeaders;
    std::uint32_t FSendFlags = 0;
    std::uint64_t FContentLength = 0; // 64 bits: files are longer than 4 GiB
    std::uint64_t FRangeFirst = 0;
    std::uint64_t FRangeLength = HTTP_BYTE_RANGE_TO_EOF;
    std::string FContentRange;
    std::string FRefusedReason;
    std::array<char, 20> FContentLengthText{};
};

} // namespace Zn
