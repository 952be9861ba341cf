#include "benchmarks/client/Peers.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <curl/curl.h>

#include "platform/errors/Errors.h"
#include "platform/winhttp/Winhttp.h"

namespace
{

class CurlPeer : public BenchPeer
{
public:
    explicit CurlPeer(std::uint16_t APort)
        : FEasy(curl_easy_init()), FAddress("http://127.0.0.1:" + std::to_string(APort))
    {
        curl_easy_setopt(FEasy, CURLOPT_WRITEFUNCTION, OnBody);
        curl_easy_setopt(FEasy, CURLOPT_WRITEDATA, this);
        curl_easy_setopt(FEasy, CURLOPT_READFUNCTION, OnRead);
        curl_easy_setopt(FEasy, CURLOPT_READDATA, this);
        FNoExpect = curl_slist_append(nullptr, "Expect:");
        curl_easy_setopt(FEasy, CURLOPT_HTTPHEADER, FNoExpect);
    }
    ~CurlPeer() override
    {
        curl_easy_cleanup(FEasy);
        curl_slist_free_all(FNoExpect);
    }
    const char* Name() const override { return "libcurl"; }
    std::uint64_t Get(const char* ATarget) override
    {
        FCount = 0;
        if (FTarget != ATarget) {
            FTarget = ATarget;
            curl_easy_setopt(FEasy, CURLOPT_URL, (FAddress + ATarget).c_str());
        }
        Perform();
        return FCount;
    }
    void Put(std::uint64_t ALength) override
    {
        FCount = ALength;
        FTarget.clear();
        curl_easy_setopt(FEasy, CURLOPT_URL, (FAddress + "/").c_str());
        curl_easy_setopt(FEasy, CURLOPT_UPLOAD, 1L);
        curl_easy_setopt(FEasy, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(ALength));
        Perform();
        curl_easy_setopt(FEasy, CURLOPT_HTTPGET, 1L);
    }

private:
    void Perform()
    {
        if (const CURLcode Code = curl_easy_perform(FEasy); Code != CURLE_OK)
            throw std::runtime_error(curl_easy_strerror(Code));
    }
    static std::size_t OnBody(char*, std::size_t ASize, std::size_t ACount, void* ASelf)
    {
        static_cast<CurlPeer*>(ASelf)->FCount += ASize * ACount;
        return ASize * ACount;
    }
    static std::size_t OnRead(char* ABuffer, std::size_t ASize, std::size_t ACount, void* ASelf)
    {
        std::uint64_t& Left = static_cast<CurlPeer*>(ASelf)->FCount;
        const auto Now = static_cast<std::size_t>(std::min<std::uint64_t>(Left, ASize * ACount));
        std::memset(ABuffer, 'x', Now);
        Left -= Now;
        return Now;
    }

    CURL* FEasy;
    curl_slist* FNoExpect = nullptr;
    const std::string FAddress;
    std::string FTarget;
    std::uint64_t FCount = 0;
};

void Check(bool AGood, const char* AFunction)
{
    if (!AGood)
        throw std::runtime_error(AFunction + (": " + SysErrorText(GetLastError())));
}

class FunctionsPeer : public BenchPeer
{
public:
    FunctionsPeer(std::uint16_t APort, HINTERNET ASession)
        : FSession(ASession != nullptr ? ASession : WinHttpOpen(u"bench", 1, nullptr, nullptr, 0)),
          FOwnsSession(ASession == nullptr),
          FConnection(WinHttpConnect(FSession, u"127.0.0.1", APort, 0))
    {
        Check(FConnection != nullptr, "WinHttpConnect");
    }
    ~FunctionsPeer() override
    {
        WinHttpCloseHandle(FConnection);
        if (FOwnsSession)
            WinHttpCloseHandle(FSession);
    }
    const char* Name() const override { return "functions"; }
    HINTERNET Session() const { return FSession; }

    std::uint64_t Get(const char* ATarget) override
    {
        const std::u16string Target(ATarget, ATarget + std::strlen(ATarget));
        HINTERNET Request = Open(u"GET", Target.c_str());
        Send(Request);
        std::uint64_t Total = 0;
        for (std::uint32_t Available = 0;;) {
            Check(WinHttpQueryDataAvailable(Request, &Available), "WinHttpQueryDataAvailable");
            if (Available == 0)
                break;
            if (FBuffer.size() < Available)
                FBuffer.resize(Available);
            std::uint32_t Read = 0;
            Check(WinHttpReadData(Request, FBuffer.data(), Available, &Read), "WinHttpReadData");
            Total += Read;
        }
        WinHttpCloseHandle(Request);
        return Total;
    }
    void Put(std::uint64_t ALength) override
    {
        HINTERNET Request = Open(u"PUT", nullptr);
        std::uint64_t Left = ALength;
        const TZnHttpBodySource Source{&Left, ALength,
                                       [](void* AContext, void* ABuffer, std::size_t ASize) -> std::int64_t {
                                           auto& Rest = *static_cast<std::uint64_t*>(AContext);
                                           const auto Now =
                                               static_cast<std::size_t>(std::min<std::uint64_t>(Rest, ASize));
                                           std::memset(ABuffer, 'x', Now);
                                           Rest -= Now;
                                           return static_cast<std::int64_t>(Now);
                                       },
                                       nullptr};
        Check(WinHttpSetOption(Request, ZN_OPTION_BODY_SOURCE, &Source, sizeof Source), "WinHttpSetOption");
        Send(Request);
        WinHttpCloseHandle(Request);
    }

private:
    /// The calls that a client unit makes for each request.
    HINTERNET Open(const char16_t* AVerb, const char16_t* ATarget)
    {
        const char16_t* Accept[] = {u"*/*", nullptr};
        HINTERNET Request = WinHttpOpenRequest(FConnection, AVerb, ATarget, u"HTTP/1.1", nullptr, Accept, 0);
        Check(Request != nullptr, "WinHttpOpenRequest");
        const std::uint32_t Wait = 120000;
        const std::uint32_t Policy = 1;
        Check(WinHttpSetOption(Request, WINHTTP_OPTION_SEND_TIMEOUT, &Wait, sizeof Wait) &&
                  WinHttpSetOption(Request, WINHTTP_OPTION_RECEIVE_TIMEOUT, &Wait, sizeof Wait) &&
                  WinHttpSetOption(Request, WINHTTP_OPTION_ENABLE_FEATURE, &Policy, sizeof Policy) &&
                  WinHttpSetOption(Request, WINHTTP_OPTION_REDIRECT_POLICY, &Policy, sizeof Policy),
              "WinHttpSetOption");
        return Request;
    }
    void Send(HINTERNET ARequest)
    {
        Check(WinHttpSendRequest(ARequest, nullptr, 0, nullptr, 0, 0, 0), "WinHttpSendRequest");
        Check(WinHttpReceiveResponse(ARequest, nullptr), "WinHttpReceiveResponse");
        std::uint32_t Status = 0;
        std::uint32_t Size = sizeof Status;
        Check(WinHttpQueryHeaders(ARequest, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER, nullptr,
                                  &Status, &Size, nullptr) &&
                  Status == 200,
              "WinHttpQueryHeaders");
        char16_t Head[2048];
        Size = sizeof Head;
        Check(WinHttpQueryHeaders(ARequest, WINHTTP_QUERY_RAW_HEADERS_CRLF, nullptr, Head, &Size, nullptr),
              "WinHttpQueryHeaders");
    }

    HINTERNET FSession;
    bool FOwnsSession;
    HINTERNET FConnection;
    std::vector<char> FBuffer;
};

} // namespace

std::unique_ptr<BenchPeer> MakeCurlPeer(std::uint16_t APort)
{
    return std::make_unique<CurlPeer>(APort);
}

std::unique_ptr<BenchPeer> MakeFunctionsPeer(std::uint16_t APort)
{
    return std::make_unique<FunctionsPeer>(APort, nullptr);
}

std::unique_ptr<BenchPeer> MakeFunctionsPeer(std::uint16_t APort, BenchPeer& AShared)
{
    return std::make_unique<FunctionsPeer>(APort, dynamic_cast<FunctionsPeer&>(AShared).Session());
}
