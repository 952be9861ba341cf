#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "uZnAmazonClient.h"

/// A request that is held in memory: its header block is what was added to it.
class TScriptedRequest : public TObject, public virtual IZnHTTPRequestEx
{
public:
    TScriptedRequest(std::string AMethod, std::string AURL, TStream* ABody)
        : Method(std::move(AMethod)), URL(std::move(AURL)), Body(ABody)
    {
    }

    std::string GetRawHeaders() override
    {
        const TZnURLData Data = ZnDecodeURL(URL);
        return Method + " " + Data.Resource + " HTTP/1.1\r\nHost: " + Data.Hostname + "\r\n" +
               Headers.GetText();
    }
    TStream* GetBody() override { return Body; }
    std::string GetURL() override { return URL; }
    TZnURLData GetURLData() override { return ZnDecodeURL(URL); }
    void AddHeader(const std::string& AName, const std::string& AValue) override
    {
        Headers.Add(AName, AValue);
    }
    void AddCookie(const std::string&, const std::string&) override {}
    std::shared_ptr<IZnHTTPResponse> SendRequest() override { return {}; }
    void CancelRequest() override {}

    std::string Header(const std::string& AName) const
    {
        const int Index = Headers.IndexOfName(AName);
        return Index < 0 ? "(none)" : Headers.GetValue(Index);
    }

    std::string Method;
    std::string URL;
    TStream* Body;
    TZnHTTPHeaderList Headers;
};

/// An answer of the script.
struct TScriptedAnswer
{
    std::uint16_t Status = 200;
    std::string Body{};
};

class TScriptedResponse : public TObject, public virtual IZnHTTPResponse
{
public:
    explicit TScriptedResponse(TScriptedAnswer AAnswer) : FAnswer(std::move(AAnswer)) {}

    TZnHTTPStatus GetStatus() override { return {FAnswer.Status, {}}; }
    TZnHTTPHeaderList& GetResponseHeaders() override { return FHeaders; }
    std::string GetHeader(const std::string&) override { return {}; }
    std::string GetCookie(const std::string&) override { return {}; }
    void GetResponseData(TStream& AResponse) override
    {
        AResponse.WriteBuffer(FAnswer.Body.data(), static_cast<std::int64_t>(FAnswer.Body.size()));
    }
    std::string GetResponse() override { return FAnswer.Body; }
    void CheckError() override
    {
        if (FAnswer.Status >= 300)
            throw EZnHTTPException(FAnswer.Body, FAnswer.Status);
    }

private:
    TScriptedAnswer FAnswer;
    TZnHTTPHeaderList FHeaders;
};

/// What went out, as the service would have seen it.
struct TSentRequest
{
    std::shared_ptr<TScriptedRequest> Request;
    std::string Body;
    std::string ContentType;
};

/// An HTTP client that sends nothing and answers by a script, 200 when that is used up.
class TScriptedClient : public TZnHTTPClientBase
{
public:
    explicit TScriptedClient(bool* AIsGone = nullptr) : TZnHTTPClientBase(nullptr), FIsGone(AIsGone) {}
    ~TScriptedClient() override
    {
        if (FIsGone != nullptr)
            *FIsGone = true;
    }

    std::deque<TScriptedAnswer> Answers;
    std::vector<TSentRequest> Sent;

    std::shared_ptr<IZnHTTPSession> GetSession() override { return {}; }
    void SetSession(const std::shared_ptr<IZnHTTPSession>&) override {}
    TZnHTTPAccessType GetAccessType() override { return atDefault; }
    void SetAccessType(TZnHTTPAccessType) override {}
    std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod, const std::string&, const AnsiString&,
                                                     const std::string&) override
    {
        return {};
    }
    std::shared_ptr<IZnHTTPRequestEx> PrepareRequest(TZnHTTPMethod AMethod, const std::string& AURL,
                                                     TStream* ABody, const std::string& AContentType) override
    {
        struct TRequest final : TScriptedRequest, std::enable_shared_from_this<TRequest>
        {
            TRequest(TScriptedClient& AOwner, const std::string& AName, const std::string& ALocation,
                     TStream* AStream, std::string AType)
                : TScriptedRequest(AName, ALocation, AStream), Owner(AOwner), ContentType(std::move(AType))
            {
            }
            std::shared_ptr<IZnHTTPResponse> SendRequest() override
            {
                Owner.DoOnRequest(shared_from_this());
                std::string Bytes; // from the position on, as a transport reads it
                if (Body != nullptr) {
                    Bytes.resize(static_cast<std::size_t>(Body->GetSize() - Body->GetPosition()));
                    Body->ReadBuffer(Bytes.data(), static_cast<std::int64_t>(Bytes.size()));
                }
                Owner.Sent.push_back({shared_from_this(), Bytes, ContentType});
                TScriptedAnswer Answer;
                if (!Owner.Answers.empty()) {
                    Answer = Owner.Answers.front();
                    Owner.Answers.pop_front();
                }
                return std::make_shared<TScriptedResponse>(Answer);
            }
            TScriptedClient& Owner;
            std::string ContentType;
        };
        return std::make_shared<TRequest>(*this, std::string(ZnHTTPMethod[AMethod]), AURL, ABody,
                                          AContentType);
    }

private:
    bool* FIsGone;
};
