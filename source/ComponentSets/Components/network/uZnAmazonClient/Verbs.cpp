#include <thread>

#include "common/Streams.h"
#include "uZnAmazonClient.h"
#include "uZnAmazonClient/Retry.h"

namespace
{

constexpr std::uint16_t cFirstError = 400;

/// The text as a body.
class TTextBody
{
public:
    explicit TTextBody(const std::string& AText) : FStream(65001) { FStream.SetAsString(AText); }
    TStream* Get() { return &FStream; }

private:
    TZnStringStream FStream;
};

} // namespace

void TZnAmazonClient::Pause(std::chrono::milliseconds ATime)
{
    std::this_thread::sleep_for(ATime);
}

std::shared_ptr<IZnHTTPResponse> TZnAmazonClient::Send(TZnHTTPMethod AMethod, const std::string& ATarget,
                                                       TStream* ABody, const std::string& AResource,
                                                       const TParams& AParams)
{
    for (std::uint32_t Retry = 0;; ++Retry) {
        auto Response = PrepareRequest(AMethod, ATarget, ABody, AResource, AParams, {})->SendRequest();
        const std::uint16_t Status = Response->GetStatus().StatusCode;
        if (Retry >= FMaxRetries || Status < cFirstError ||
            !Zn::IsWorthRetrying(Status, Response->GetResponse())) {
            Response->CheckError();
            return Response;
        }
        Response.reset(); // gives its connection back
        Pause(Zn::PauseWithJitter(Zn::LongestPause(FRetryDelay, Retry)));
    }
}

std::string TZnAmazonClient::Get(const std::string& ATarget, const std::string& AResource,
                                 const TParams& AParams)
{
    return Send(httpGET, ATarget, nullptr, AResource, AParams)->GetResponse();
}

std::string TZnAmazonClient::Get(const std::string& AResource)
{
    return Get({}, AResource, TParams());
}

std::string TZnAmazonClient::Get(const std::string& ATarget, const std::string& AResource)
{
    return Get(ATarget, AResource, TParams());
}

std::string TZnAmazonClient::Get(const std::string& AResource, const TParams& AParams)
{
    return Get({}, AResource, AParams);
}

std::string TZnAmazonClient::Get(const std::string& AResource, const TParamTexts& AParams)
{
    return Get({}, AResource, CreateParams(AParams));
}

std::string TZnAmazonClient::Get(const std::string& ATarget, const std::string& AResource,
                                 const TParamTexts& AParams)
{
    return Get(ATarget, AResource, CreateParams(AParams));
}

std::int64_t TZnAmazonClient::Get(const std::string& ATarget, const std::string& AResource,
                                  const TParams& AParams, TStream& AData)
{
    Send(httpGET, ATarget, nullptr, AResource, AParams)->GetResponseData(AData);
    return AData.GetSize();
}

std::int64_t TZnAmazonClient::Get(const std::string& AResource, TStream& AData)
{
    return Get({}, AResource, TParams(), AData);
}

std::int64_t TZnAmazonClient::Get(const std::string& ATarget, const std::string& AResource, TStream& AData)
{
    return Get(ATarget, AResource, TParams(), AData);
}

std::int64_t TZnAmazonClient::Get(const std::string& AResource, const TParams& AParams, TStream& AData)
{
    return Get({}, AResource, AParams, AData);
}

std::int64_t TZnAmazonClient::Get(const std::string& AResource, const TParamTexts& AParams, TStream& AData)
{
    return Get({}, AResource, CreateParams(AParams), AData);
}

std::int64_t TZnAmazonClient::Get(const std::string& ATarget, const std::string& AResource,
                                  const TParamTexts& AParams, TStream& AData)
{
    return Get(ATarget, AResource, CreateParams(AParams), AData);
}

void TZnAmazonClient::Delete(const std::string& ATarget, const std::string& AResource,
                             const TParamTexts& AParams)
{
    Send(httpDELETE, ATarget, nullptr, AResource, CreateParams(AParams));
}

void TZnAmazonClient::Delete(const std::string& ATarget)
{
    Delete(ATarget, {}, TParamTexts());
}

void TZnAmazonClient::Delete(const std::string& ATarget, const std::string& AResource)
{
    Delete(ATarget, AResource, TParamTexts());
}

void TZnAmazonClient::Delete(const std::string& AResource, const TParamTexts& AParams)
{
    Delete({}, AResource, AParams);
}

std::string TZnAmazonClient::Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod, TStream* ABody,
                                     const std::string& AResource, const TParams& AParams)
{
    return Send(AMethod, ATarget, ABody, AResource, AParams)->GetResponse();
}

std::string TZnAmazonClient::Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod,
                                     const std::string& ABody, const std::string& AResource,
                                     const TParams& AParams)
{
    return Execute(ATarget, AMethod, TTextBody(ABody).Get(), AResource, AParams);
}

std::string TZnAmazonClient::Execute(TZnHTTPBodyMethod AMethod, TStream* ABody, const std::string& AResource,
                                     const TParams& AParams)
{
    return Execute({}, AMethod, ABody, AResource, AParams);
}

std::string TZnAmazonClient::Execute(TZnHTTPBodyMethod AMethod, const std::string& ABody,
                                     const std::string& AResource, const TParams& AParams)
{
    return Execute({}, AMethod, ABody, AResource, AParams);
}

std::string TZnAmazonClient::Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod, TStream* ABody,
                                     const std::string& AResource, const TParamTexts& AParams)
{
    return Execute(ATarget, AMethod, ABody, AResource, CreateParams(AParams));
}

std::string TZnAmazonClient::Execute(const std::string& ATarget, TZnHTTPBodyMethod AMethod,
                                     const std::string& ABody, const std::string& AResource,
                                     const TParamTexts& AParams)
{
    return Execute(ATarget, AMethod, ABody, AResource, CreateParams(AParams));
}
