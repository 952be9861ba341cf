#include "uZnAmazonClient.h"

#include <utility>

#include "common/Exceptions.h"
#include "common/Text.h"
#include "uZnAmazonClient/BodyHash.h"
#include "uZnAmazonClient/DefaultClient.h"

namespace
{

struct TServiceEntry
{
    std::string_view Service;
    std::string_view TargetPrefix;
    std::string_view ContentType;
};

constexpr TServiceEntry cServices[] = {
    {"dynamodb", "DynamoDB_20120810", "application/x-amz-json-1.0"},
    {"rekognition", "RekognitionService", "application/x-amz-json-1.1"},
    {"s3", "s3", "application/x-amz-json-1.0"},
};

constexpr std::string_view cStorage = "s3"; // in this case exactly

} // namespace

TZnAmazonClient::TZnAmazonClient(TComponent* AOwner) : TComponent(AOwner)
{
    CheckClient();
}

TZnAmazonClient::~TZnAmazonClient()
{
    FreeClient();
}

void TZnAmazonClient::SetService(const std::string& AValue)
{
    FService = AValue;
    for (const TServiceEntry& Entry : cServices) {
        if (SameText(Entry.Service, AValue)) {
            FTargetPrefix = Entry.TargetPrefix;
            FContentType = Entry.ContentType;
        }
    }
}

void TZnAmazonClient::UseCredentials(const TZnAmazonCredentials& ACredentials)
{
    FAccessKeyID = ACredentials.AccessKeyID;
    FAccessKey = ACredentials.AccessKey;
    FSessionToken = ACredentials.SessionToken;
    if (!ACredentials.Region.empty())
        FRegion = ACredentials.Region;
}

void TZnAmazonClient::SetEndpointURL(const std::string& AURL)
{
    if (!AURL.starts_with("http://") && !AURL.starts_with("https://"))
        throw EInvalidArgument("\"" + AURL + "\" is no http or https URL!");
    const TZnURLData Data = ZnDecodeURL(AURL);
    if (Data.Hostname.empty())
        throw EInvalidArgument("\"" + AURL + "\" names no host!");
    FEndpoint.Scheme = Data.Scheme;
    FEndpoint.Domain = Data.Hostname;
    FEndpoint.Port = Data.Origin == Data.Scheme + "://" + Data.Hostname ? std::uint16_t{0} : Data.Port;
    FEndpoint.Form = efPlain;
    FCanonicalForm = cfExact;
}

void TZnAmazonClient::CheckClient()
{
    if (FHTTPClient)
        return;
    std::unique_ptr<TComponent> Made = Zn::MakeDefaultClient();
    SetHTTPClient(Made.get());
    Made.release(); // this component frees it
    FIsDefaultClient = true;
}

void TZnAmazonClient::SetHTTPClient(TComponent* AValue)
{
    if (AValue == nullptr) {
        FreeClient();
        return;
    }
    if (AValue != FHTTPClientObj)
        ReleaseClient();
    auto* const Contract = dynamic_cast<IZnHTTPClient*>(AValue);
    if (Contract == nullptr)
        throw Exception("The provided HTTP Client does not support the IZnHTTPClient interface!");
    FreeNotification(AValue);
    FHTTPClientObj = AValue;
    FHTTPClient = Zn::Borrow(Contract);
    FHTTPClient->SetOnRequest([this](TObject* ASender, const std::shared_ptr<IZnHTTPRequest>& ARequest) {
        BeforeSendRequest(ASender, ARequest);
    });
    Zn::LimitProtocols(*FHTTPClientObj);
}

void TZnAmazonClient::ReleaseClient()
{
    if (FHTTPClientObj == nullptr)
        return;
    if (FIsDefaultClient) {
        FreeClient();
        return;
    }
    // Whoever gave it has it back, and nothing of its requests comes here any more.
    FHTTPClient->SetOnRequest(nullptr);
    FHTTPClient.reset();
    RemoveFreeNotification(std::exchange(FHTTPClientObj, nullptr));
}

void TZnAmazonClient::FreeClient()
{
    if (FHTTPClient)
        FHTTPClient->SetOnRequest(nullptr);
    FHTTPClient.reset();
    FIsDefaultClient = false;
    delete std::exchange(FHTTPClientObj, nullptr);
}

void TZnAmazonClient::Notification(TComponent* AComponent, TOperation AOperation)
{
    TComponent::Notification(AComponent, AOperation);
    if (AOperation != opRemove || AComponent != FHTTPClientObj)
        return;
    FHTTPClient.reset();
    FHTTPClientObj = nullptr;
    FIsDefaultClient = false;
}

IZnHTTPClient& TZnAmazonClient::Client()
{
    CheckClient();
    return *FHTTPClient;
}

std::string TZnAmazonClient::BaseURL(const std::string& ATarget) const
{
    return FEndpoint.BaseURL(FService, FRegion, FService == cStorage ? ATarget : std::string());
}

std::string TZnAmazonClient::TargetHeader(const std::string& ATarget) const
{
    const bool IsComplete = FTargetPrefix.empty() || ATarget.find('.') != std::string::npos;
    return IsComplete ? ATarget : FTargetPrefix + "." + ATarget;
}

std::shared_ptr<IZnHTTPRequestEx> TZnAmazonClient::PrepareRequest(TZnHTTPMethod AMethod,
                                                                  const std::string& ATarget, TStream* ABody,
                                                                  const std::string& AResource,
                                                                  const TParams& AParams,
                                                                  const std::string& ARedirectLocation)
{
    const bool IsStorage = FService == cStorage;
    std::string URL =
        Zn::WithResource(ARedirectLocation.empty() ? BaseURL(ATarget) : ARedirectLocation, AResource);
    if (const std::string Query = Zn::QueryOf(AParams, FCanonicalForm); !Query.empty())
        URL += "?" + Query;
    const std::string BodyHash = IsStorage ? Zn::HashOfBody(ABody) : std::string();
    if (ABody != nullptr)
        ABody->SetPosition(0); // what is signed is what is sent: all of it
    auto Request =
        Client().PrepareRequest(AMethod, URL, ABody, ABody == nullptr ? std::string() : FContentType);
    if (!IsStorage && !ATarget.empty())
        Request->AddHeader("X-Amz-Target", TargetHeader(ATarget));
    if (IsStorage)
        Request->AddHeader("X-Amz-Content-SHA256", BodyHash);
    Request->AddHeader("pragma", "no-cache");
    Request->AddHeader("Cache-control", "no-cache, no-store");
    return Request;
}
