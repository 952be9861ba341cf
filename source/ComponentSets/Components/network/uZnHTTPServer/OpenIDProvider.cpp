#include "uZnHTTPServer/OpenIDProvider.h"

#include "common/Exceptions.h"
#include "common/Streams.h"
#include "uZnHTTPClient.h"

namespace Zn
{
namespace
{

constexpr std::int32_t cConnectTimeOut = 10'000; // ms; callers wait for it
constexpr std::int32_t cTimeOut = 30'000;        // ms

class AnswerStream : public TMemoryStream
{
public:
    std::int64_t Write(const void* ABuffer, std::int64_t ACount) override
    {
        if (GetPosition() + ACount > cMaxProviderAnswer)
            throw EStreamError(ZnFormat("The provider's answer is longer than %lld bytes!",
                                        static_cast<long long>(cMaxProviderAnswer)));
        return TMemoryStream::Write(ABuffer, ACount);
    }
};

std::shared_ptr<IZnHTTPClient> MakeClient()
{
    auto Client = std::make_shared<TZnHTTPClient>(true);
    Client->SetAuthentication(authNone);
    Client->SetAccessType(atDefault);
    TZnHTTPTimeOuts TimeOuts;
    TimeOuts.SetConnectTimeOut(cConnectTimeOut);
    TimeOuts.SetSendTimeOut(cTimeOut);
    TimeOuts.SetReceiveTimeOut(cTimeOut);
    Client->SetTimeOuts(&TimeOuts);
    return Client;
}

ProviderAnswer Read(IZnHTTPResponse& AResponse)
{
    AnswerStream Body;
    AResponse.GetResponseData(Body);
    return {.Status = AResponse.GetStatus().StatusCode,
            .ContentType = AResponse.GetHeader("Content-Type"),
            .Body = std::string(Body.View())};
}

} // namespace

std::optional<std::string> GetFromProvider(const std::string& AUrl)
{
    const auto Client = MakeClient();
    ProviderAnswer Answer = Read(*Client->Request(httpGET, AUrl, false));
    if (Answer.Status != 200)
        return std::nullopt;
    return std::move(Answer.Body);
}

ProviderAnswer PostToProvider(const std::string& AUrl, const std::string& AForm)
{
    const auto Client = MakeClient();
    return Read(
        *Client->Request(httpPOST, AUrl, AnsiString(AForm), "application/x-www-form-urlencoded", false));
}

} // namespace Zn
