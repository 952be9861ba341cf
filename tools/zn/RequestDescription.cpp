#include "tools/zn/RequestDescription.h"

#include <map>

#include "common/Json.h"
#include "common/Text.h"
#include "tools/zn/AccessLog.h"
#include "uZnHTTPH.h"

namespace Zn
{

namespace
{

/// "AcceptLanguage" -> "Accept-Language".
std::string WithHyphens(std::string_view AName)
{
    std::string Name;
    for (const char C : AName) {
        if (C >= 'A' && C <= 'Z' && !Name.empty())
            Name += '-';
        Name += C;
    }
    return Name;
}

std::unique_ptr<TJSONObject> DescribeUrl(const TZnURLData& AUrl)
{
    auto Url = std::make_unique<TJSONObject>();
    Url->AddPair("URL", AUrl.URL)
        .AddPair("Scheme", AUrl.Scheme)
        .AddPair("Username", AUrl.Username)
        .AddPair("Password", AUrl.Password)
        .AddPair("Hostname", AUrl.Hostname)
        .AddPair("Port", AUrl.Port)
        .AddPair("Origin", AUrl.Origin)
        .AddPair("Resource", AUrl.Resource)
        .AddPair("FilePath", AUrl.FilePath)
        .AddPair("SubPath", AUrl.SubPath)
        .AddPair("Document", AUrl.Document)
        .AddPair("DocumentUri", AUrl.DocumentUri)
        .AddPair("QueryString", AUrl.QueryString)
        .AddPair("Fragment", AUrl.Fragment);
    return Url;
}

/// Fields with a number first, the others behind them in wire order. The values of like-named ones are
/// joined, as RFC 9110, 5.3 allows.
std::unique_ptr<TJSONObject> DescribeHeaders(const TExchange& AExchange)
{
    auto Headers = std::make_unique<TJSONObject>();
    for (std::uint32_t Id = 0; Id < HttpHeaderRequestMaximum; ++Id) {
        const std::string Value = AExchange.Header(static_cast<THTTP_HEADER_ID>(Id));
        if (!Value.empty())
            Headers->AddPair(WithHyphens(HTTP_KNOWN_REQUEST_HEADERS[Id]), Value);
    }
    std::vector<TZnHTTPHeader> Others;
    for (std::uint16_t Index = 0;; ++Index) {
        std::string Name;
        const std::string Value = AExchange.Worker.GetUnknownHeaderValue(Index, Name);
        if (Name.empty())
            break;
        const auto Same = std::find_if(Others.begin(), Others.end(), [&](const TZnHTTPHeader& AOther) {
            return SameText(AOther.Name, Name);
        });
        if (Same == Others.end())
            Others.push_back({Name, Value});
        else
            Same->Value += ", " + Value;
    }
    for (const TZnHTTPHeader& Other : Others)
        Headers->AddPair(Other.Name, Other.Value);
    return Headers;
}

/// The names come from the Cookie field, the values from the server's own reading of it.
std::unique_ptr<TJSONObject> DescribeCookies(TExchange& AExchange)
{
    std::map<std::string, std::string> Values;
    for (const std::string& Pair : ZnTokenize(AExchange.Header(HttpHeaderCookie), ';')) {
        const std::string Name = ZnTrim(Pair.substr(0, Pair.find('=')));
        std::string Value;
        if (!Name.empty() && AExchange.Worker.GetCookie(AExchange.Request.UrlData, Name, Value))
            Values[Name] = Value;
    }
    auto Cookies = std::make_unique<TJSONObject>();
    for (const auto& [Name, Value] : Values)
        Cookies->AddPair(Name, Value);
    return Cookies;
}

std::unique_ptr<TJSONArray> DescribeLanguages(const TExchange& AExchange)
{
    auto Languages = std::make_unique<TJSONArray>();
    for (const PZnLanguageIdent Language : AExchange.Worker.GetAcceptedLanguages())
        Languages->Add(std::string(Language->Language) + "-" + std::string(Language->Sublanguage));
    return Languages;
}

} // namespace

std::string DescribeRequest(TExchange& AExchange)
{
    const THTTP_REQUEST& Record = *AExchange.Request.HTTP_REQUEST;
    TJSONObject Request;
    Request.AddPair("method", MethodName(Record))
        .AddPair("version", ZnFormat("HTTP/%u.%u", unsigned{Record.Version.MajorVersion},
                                     unsigned{Record.Version.MinorVersion}))
        .AddPair("url", DescribeUrl(AExchange.Request.UrlData))
        .AddPair("headers", DescribeHeaders(AExchange))
        .AddPair("cookies", DescribeCookies(AExchange))
        .AddPair("languages", DescribeLanguages(AExchange))
        .AddPair("remoteAddress", AExchange.Request.RemoteIp)
        .AddPair("secure", AExchange.Request.Secure);
    return Request.ToJSON();
}

} // namespace Zn
