#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Component.h"
#include "common/Streams.h"
#include "platform/Api.h"
#include "platform/sync/Handle.h"
#include "uZnHTTPBase/Header.h"
#include "uZnHTTPServer/Request.h"

class TZnCustomHTTPServer;

/// Where the body comes from.
enum TZnHTTPServerResponseType : std::uint8_t { rtText, rtMemory, rtStream, rtFile };

/// What is to be answered. The handler fills it; the server sends it after the handler returned.
///
/// A fresh response is 200 "OK", "text/html", with an empty text. The setter of a body source
/// moves the type to it:
///
///     rtText  --SetResponseBuffer/BufSize--> rtMemory
///     rtText  --SetResponseStream----------> rtStream      back by SetResponseType(rtText) only,
///     rtText  --SetResponseFileName--------> rtFile        which clears what it owns
///
/// Threads:   the request's worker only.
/// Ownership: buffer and stream stay the application's, and have to live until the response was
///            sent, unless ReleaseContent is set: then the response frees them.
/// Errors:    a setter that doesn't fit the type raises EAssertionFailed.
class ZN_API TZnHTTPServerResponse : public TObject
{
public:
    /// Made by the server for each request; ARequest outlives it.
    TZnHTTPServerResponse(TZnCustomHTTPServer& AServer, PZnHTTPServerRequest ARequest);
    ~TZnHTTPServerResponse() override;
    TZnHTTPServerResponse(const TZnHTTPServerResponse&) = delete;
    TZnHTTPServerResponse& operator=(const TZnHTTPServerResponse&) = delete;

    /// The server that will send it.
    TZnCustomHTTPServer& GetHTTPServer() const { return FHTTPServer; }
    /// The request that it answers.
    PZnHTTPServerRequest GetRequest() const { return FRequest; }

    /// Default 200. Negative: a bare 500 with StatusDescription as its reason, then disconnect. What is
    /// no final status of three digits goes out as 500.
    std::int32_t GetStatusCode() const { return FStatusCode; }
    void SetStatusCode(std::int32_t AValue) { FStatusCode = AValue; }

    /// The reason phrase. Default "OK".
    const std::string& GetStatusDescription() const { return FStatusDescription; }
    void SetStatusDescription(std::string AValue) { FStatusDescription = std::move(AValue); }

    /// Default "text/html". Empty: nothing at all is sent and the connection is closed.
    const std::string& GetContentType() const { return FContentType; }
    void SetContentType(std::string AValue) { FContentType = std::move(AValue); }

    /// Sent as it is. With any value a text is compressed for a client that accepts "deflate".
    const std::string& GetContentEncoding() const { return FContentEncoding; }
    void SetContentEncoding(std::string AValue) { FContentEncoding = std::move(AValue); }

    /// True: the response frees its buffer (std::free), stream or file handle. Default false.
    bool GetReleaseContent() const { return FReleaseContent; }
    void SetReleaseContent(bool AValue) { FReleaseContent = AValue; }

    /// Largest piece of a body in memory that is handed to the service at once, in bytes. Default
    /// 65535. A body that would need more than 65535 pieces gets larger ones. 0 is refused when the
    /// response is sent: the client is disconnected.
    std::uint32_t GetMaxChunkSize() const { return FMaxChunkSize; }
    void SetMaxChunkSize(std::uint32_t AValue) { FMaxChunkSize = AValue; }

    /// The WWW-Authenticate field; empty: none.
    const std::string& GetWwwAuthenticate() const { return FWwwAuthenticate; }
    void SetWwwAuthenticate(std::string AValue) { FWwwAuthenticate = std::move(AValue); }

    /// True: byte ranges of the file are served to a GET with a Range field. Leave it false when the
    /// request has an If-Range that doesn't fit. Default false.
    bool GetPartialContent() const { return FPartialContent; }
    void SetPartialContent(bool AValue) { FPartialContent = AValue; }

    /// Where the body comes from. Default rtText; the setters of sources move it.
    TZnHTTPServerResponseType GetResponseType() const { return FResponseType; }
    /// The way back: frees an owned stream or buffer and closes the file handle unless AValue uses
    /// it, and clears the text unless AValue is rtText.
    void SetResponseType(TZnHTTPServerResponseType AValue);

    /// The body as UTF-8. Refused while there is a stream, a buffer or a file handle.
    const std::string& GetResponseText() const { return FResponseText; }
    void SetResponseText(std::string AValue);

    /// The body as bytes in memory. Refused for rtStream and rtFile.
    const void* GetResponseBuffer() const { return FResponseBuffer; }
    void SetResponseBuffer(const void* AValue);
    /// The number of bytes of the buffer. Refused for rtStream and rtFile.
    std::uint32_t GetResponseBufSize() const { return FResponseBufSize; }
    void SetResponseBufSize(std::uint32_t AValue);

    /// The body as a stream, sent from its beginning. Refused for rtMemory and rtFile.
    TStream* GetResponseStream() const { return FResponseStream; }
    void SetResponseStream(TStream* AValue);
    /// The same, and the response owns the stream (ReleaseContent becomes true).
    void SetResponseStream(std::unique_ptr<TStream> AValue);

    /// The body as a file, opened when it is sent. Refused for rtMemory and rtStream. A file that
    /// isn't there is sent as an empty body.
    const std::string& GetResponseFileName() const { return FResponseFileName; }
    void SetResponseFileName(std::string AValue);

    /// Appends a field; nothing is merged or replaced.
    void AddUnknownHeader(std::string AName, std::string AValue);
    /// All fields that were added, in order.
    const std::vector<TZnHTTPHeader>& GetUnknownHeaders() const { return FUnknownHeaders; }

    /// Sets a cookie: replaces the first Set-Cookie field whose value begins with AName, else
    /// appends one. Attributes follow the value: "1; Path=/; HttpOnly".
    virtual void AddCookie(const std::string& AName, const std::string& AValue);

    /// For the code that sends: the handle of the opened file, closed with the response when
    /// ReleaseContent is set. 0: none.
    THandle GetResponseFileHandle() const { return FResponseFileHandle; }
    void SetResponseFileHandle(THandle AValue) { FResponseFileHandle = AValue; }

private:
    void FreeStream();
    void FreeBuffer();
    void CloseFile();

    TZnCustomHTTPServer& FHTTPServer;
    PZnHTTPServerRequest FRequest;
    std::vector<TZnHTTPHeader> FUnknownHeaders;
    std::int32_t FStatusCode = 200;
    std::string FStatusDescription = "OK";
    std::string FContentType = "text/html";
    bool FReleaseContent = false;
    TZnHTTPServerResponseType FResponseType = rtText;
    std::string FContentEncoding;
    std::string FResponseText;
    const void* FResponseBuffer = nullptr;
    std::uint32_t FResponseBufSize = 0;
    TStream* FResponseStream = nullptr;
    std::string FResponseFileName;
    THandle FResponseFileHandle = 0;
    std::uint32_t FMaxChunkSize = 65535;
    std::string FWwwAuthenticate;
    bool FPartialContent = false;
};

/// Makes the response objects of a server.
using TZnHTTPServerResponseClass = std::function<std::unique_ptr<TZnHTTPServerResponse>(
    TZnCustomHTTPServer& AServer, PZnHTTPServerRequest ARequest)>;
