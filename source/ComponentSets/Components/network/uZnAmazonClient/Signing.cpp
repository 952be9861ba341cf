#include <array>

#include "common/DateTime.h"
#include "common/Text.h"
#include "uZnAmazonClient.h"
#include "uZnAmazonClient/BodyHash.h"
#include "uZnAmazonClient/Signature.h"

namespace
{

/// Signed where they are there, in this order; the names in it are those of the signed lines.
constexpr std::string_view cHost = "host";
constexpr std::string_view cDate = "x-amz-date";
constexpr std::string_view cToken = "x-amz-security-token";
constexpr std::array<std::string_view, 7> cSignedHeaders{
    "content-md5", cHost, "x-amz-content-sha256", "x-amz-copy-source", cDate, cToken, "x-amz-target"};

std::string_view ValueOf(const TZnHTTPHeaderList& AHeaders, std::string_view AName)
{
    const int Index = AHeaders.IndexOfName(AName);
    return Index < 0 ? std::string_view() : AHeaders.ValueView(Index);
}

/// The Host field: with the port where that isn't the scheme's own.
std::string_view HostWithPort(const TZnURLData& AURL)
{
    return std::string_view(AURL.Origin).substr(AURL.Scheme.size() + std::string_view("://").size());
}

} // namespace

Zn::TSigner TZnAmazonClient::Signer() const
{
    return {FSignAlg, FAccessKeyID, FAccessKey, FRegion, FService};
}

std::unique_ptr<TStringList>
TZnAmazonClient::CreateCanonicalRequest(const std::shared_ptr<IZnHTTPRequest>& ARequest, std::string& ADate,
                                        std::string& ASignedHeaders)
{
    TZnHTTPHeaderList Headers;
    Headers.SetText(ARequest->GetRawHeaders());
    if (!FSessionToken.empty() && ValueOf(Headers, cToken).empty()) {
        ARequest->AddHeader("X-Amz-Security-Token", FSessionToken);
        Headers.SetText(ARequest->GetRawHeaders());
    }
    ADate = ValueOf(Headers, cDate);
    if (ADate.empty()) {
        ADate = Zn::SigningDate(ZnNowUTC());
        ARequest->AddHeader("X-Amz-Date", ADate);
        Headers.SetText(ARequest->GetRawHeaders());
    }

    const TZnURLData URL = ARequest->GetURLData();
    const std::size_t Question = std::min(URL.Resource.find('?'), URL.Resource.size());
    const std::string Query = URL.Resource.substr(std::min(Question + 1, URL.Resource.size()));
    auto Result = std::make_unique<TStringList>();
    const std::string RequestLine = Headers.Count() > 0 ? Headers.GetLine(0) : std::string();
    const std::size_t Blank = RequestLine.find(cZnSpace);
    Result->Add(Blank == std::string::npos ? std::string() : RequestLine.substr(0, Blank));
    Result->Add(URL.Resource.substr(0, Question));
    Result->Add(Zn::SortedQuery(Query, FCanonicalForm));

    ASignedHeaders.clear();
    for (const std::string_view Name : cSignedHeaders) {
        std::string_view Value = ValueOf(Headers, Name);
        if (Name == cHost)
            Value = FCanonicalForm == cfExact ? HostWithPort(URL) : std::string_view(URL.Hostname);
        else if (Name == cDate)
            Value = ADate;
        else if (Value.empty() || (Name == cToken && FSessionToken.empty()))
            continue;
        Result->Add(std::string(Name).append(":").append(Value));
        ASignedHeaders.append(ASignedHeaders.empty() ? "" : ";").append(Name);
    }
    Result->Add({});
    Result->Add(ASignedHeaders);
    Result->Add(Zn::HashOfBody(ARequest->GetBody()));
    return Result;
}

std::string TZnAmazonClient::CalculateStringToSign(const TStringList& ACanonicalRequest,
                                                   const std::string& ADate) const
{
    std::string Text;
    for (const std::string& Line : ACanonicalRequest)
        Text.append(Line).append("\n");
    if (!Text.empty())
        Text.pop_back();
    return Zn::StringToSign(Signer(), ADate, Text);
}

void TZnAmazonClient::SignRequest(const std::shared_ptr<IZnHTTPRequest>& ARequest, const std::string& ADate,
                                  const std::string& ASignedHeaders, const std::string& AStringToSign) const
{
    ARequest->AddHeader("Authorization", Zn::Authorization(Signer(), ADate, ASignedHeaders, AStringToSign));
}

void TZnAmazonClient::BeforeSendRequest(TObject* Sender, const std::shared_ptr<IZnHTTPRequest>& ARequest)
{
    std::string Date;
    std::string SignedHeaders;
    const auto Canonical = CreateCanonicalRequest(ARequest, Date, SignedHeaders);
    SignRequest(ARequest, Date, SignedHeaders, CalculateStringToSign(*Canonical, Date));
    if (FOnRequest)
        FOnRequest(Sender, ARequest);
}
