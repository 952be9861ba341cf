#pragma once

// The HTTP service with one queue and a thread that receives, for tests that stand where the server unit
// stands.

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/errors/Errors.h"
#include "platform/httpapi/Httpapi.h"
#include "tests/support/RawClient.h"

inline std::string Known(const THTTP_REQUEST& ARequest, THTTP_HEADER_ID AId)
{
    const THTTP_KNOWN_HEADER& Header = ARequest.Headers.KnownHeaders[AId];
    return Header.pRawValue != nullptr ? std::string(Header.pRawValue, Header.RawValueLength) : std::string();
}

inline std::string FullUrl(const THTTP_REQUEST& ARequest)
{
    const THTTP_COOKED_URL& Url = ARequest.CookedUrl;
    return {Url.pFullUrl, Url.pFullUrl + Url.FullUrlLength / sizeof(char16_t)};
}

/// A queue under a free port, answered by AHandler on one thread of its own.
class TestService
{
public:
    using Handler = std::function<void(TestService&, const THTTP_REQUEST&)>;

    /// ACertificate, for https: its port is filled in.
    explicit TestService(Handler AHandler, std::uint32_t ABufferLength = 16384,
                         const TZnHttpPortCertificate* ACertificate = nullptr)
        : Port(FreePort()),
          FHandler(std::move(AHandler)),
          FBufferLength(ABufferLength),
          FScheme(ACertificate != nullptr ? "https" : "http")
    {
        EXPECT_EQ(HttpInitialize(HTTPAPI_VERSION_1, HTTP_INITIALIZE_SERVER, nullptr), NO_ERROR);
        THandle New = 0;
        EXPECT_EQ(HttpCreateHttpHandle(&New, 0), NO_ERROR);
        Queue = New;
        if (ACertificate != nullptr) {
            TZnHttpPortCertificate Certificate = *ACertificate;
            Certificate.Port = Port;
            EXPECT_EQ(ZnHttpSetPortCertificate(&Certificate), NO_ERROR);
        }
        EXPECT_EQ(HttpAddUrl(Queue, Url("/").c_str(), nullptr), NO_ERROR);
        if (FHandler)
            FThread = std::thread([this] { Loop(); });
    }
    TestService(const TestService&) = delete;
    TestService& operator=(const TestService&) = delete;
    ~TestService()
    {
        CloseQueue();
        if (FThread.joinable())
            FThread.join();
        EXPECT_EQ(HttpTerminate(HTTP_INITIALIZE_SERVER, nullptr), NO_ERROR);
        const TZnHttpServiceLimits Defaults;
        ZnHttpSetServiceLimits(&Defaults);
    }

    void CloseQueue()
    {
        if (const THandle Open = Queue.exchange(0); Open != 0)
            CloseHandle(Open);
    }
    std::string Url(const std::string& APath) const
    {
        return FScheme + "://localhost:" + std::to_string(Port) + APath;
    }
    RawClient Connect() const { return RawClient(Port); }

    std::uint32_t SendHead(const THTTP_REQUEST& ARequest, std::uint16_t AStatus, std::uint32_t AFlags,
                           const std::string& AContentLength = {}, const std::string& ALocation = {})
    {
        THTTP_RESPONSE Response{};
        Response.StatusCode = AStatus;
        Response.pReason = "Fine";
        Response.ReasonLength = 4;
        Set(Response, HttpHeaderContentLength, AContentLength);
        Set(Response, HttpHeaderLocation, ALocation);
        return HttpSendHttpResponse(Queue, ARequest.RequestId, AFlags, &Response, nullptr, nullptr, nullptr,
                                    0, nullptr, nullptr);
    }
    std::uint32_t SendBody(const THTTP_REQUEST& ARequest, const std::string& ABody, std::uint32_t AFlags = 0)
    {
        THTTP_DATA_CHUNK Chunk{};
        Chunk.DataChunkType = HttpDataChunkFromMemory;
        Chunk.FromMemory = {ABody.data(), static_cast<std::uint32_t>(ABody.size())};
        return HttpSendResponseEntityBody(Queue, ARequest.RequestId, AFlags, ABody.empty() ? 0 : 1, &Chunk,
                                          nullptr, nullptr, 0, nullptr, nullptr);
    }
    /// 200 with the text.
    void Answer(const THTTP_REQUEST& ARequest, const std::string& AText)
    {
        SendHead(ARequest, 200, HTTP_SEND_RESPONSE_FLAG_MORE_DATA, std::to_string(AText.size()));
        SendBody(ARequest, AText);
    }
    /// The whole body; AResult is what ended it (38 at its end).
    std::string ReadBody(const THTTP_REQUEST& ARequest, std::uint32_t& AResult, std::uint32_t AStep = 4096)
    {
        std::string Body;
        std::vector<char> Buffer(AStep);
        std::uint32_t Received = 0;
        while ((AResult = HttpReceiveRequestEntityBody(Queue, ARequest.RequestId, 0, Buffer.data(), AStep,
                                                       &Received, nullptr)) == NO_ERROR)
            Body.append(Buffer.data(), Received);
        return Body;
    }

    std::atomic<THandle> Queue{0};
    const std::uint16_t Port;

private:
    static void Set(THTTP_RESPONSE& AResponse, THTTP_HEADER_ID AId, const std::string& AValue)
    {
        if (!AValue.empty())
            AResponse.Headers.KnownHeaders[AId] = {static_cast<std::uint16_t>(AValue.size()), AValue.data()};
    }

    void Loop()
    {
        std::vector<std::uint64_t> Buffer(FBufferLength / 8);
        auto* const Record = reinterpret_cast<PHTTP_REQUEST>(Buffer.data());
        for (const THandle Handle = Queue;;) {
            const std::uint32_t Result =
                HttpReceiveHttpRequest(Handle, 0, 0, Record, FBufferLength, nullptr, nullptr);
            if (Result == NO_ERROR)
                FHandler(*this, *Record);
            else if (Result != ERROR_MORE_DATA)
                return;
        }
    }

    Handler FHandler;
    std::uint32_t FBufferLength;
    std::string FScheme;
    std::thread FThread;
};

/// Changes some limits for one test; ~TestService puts the defaults back.
inline void WithLimits(const std::function<void(TZnHttpServiceLimits&)>& AChange)
{
    TZnHttpServiceLimits Limits;
    AChange(Limits);
    ASSERT_EQ(ZnHttpSetServiceLimits(&Limits), NO_ERROR);
}

inline std::string Get(const std::string& APath, const std::string& AFields = {})
{
    return "GET " + APath + " HTTP/1.1\r\nHost: localhost\r\n" + AFields + "\r\n";
}
