#include "platform/winhttp/Opening.h"

#include <optional>

#include "platform/httpapi/Grammar.h"
#include "platform/winhttp/Values.h"

namespace Zn::Winhttp
{

using HttpClient::Connection;
using HttpClient::ProxyRules;
using HttpClient::Request;
using HttpClient::Session;

namespace
{

/// A text that stands in a field of its own: without what would end the field.
bool IsOneLine(std::string_view AText)
{
    return Grammar::Run(Grammar::Value, AText) == AText.size();
}

std::uint32_t ChooseProxies(std::uint32_t AAccessType, const std::string& AProxy, const std::string& ABypass,
                            ProxyRules& AResult)
{
    switch (AAccessType) {
    case WINHTTP_ACCESS_TYPE_DEFAULT_PROXY:
    case WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY:
        AResult = ProxyRules::FromEnvironment();
        return AProxy.empty() ? NO_ERROR : ERROR_INVALID_PARAMETER;
    case WINHTTP_ACCESS_TYPE_NO_PROXY:
        return AProxy.empty() ? NO_ERROR : ERROR_INVALID_PARAMETER;
    case WINHTTP_ACCESS_TYPE_NAMED_PROXY:
        return ProxyRules::FromTexts(AProxy, ABypass, AResult) ? NO_ERROR : ERROR_INVALID_PARAMETER;
    default:
        return ERROR_INVALID_PARAMETER;
    }
}

std::string Joined(const char16_t* const* ATypes)
{
    std::string Result;
    for (; ATypes != nullptr && *ATypes != nullptr; ++ATypes)
        Result.append(Result.empty() ? "" : ", ").append(Narrow(*ATypes));
    return Result;
}

std::string TargetFor(const std::string& AVerb, const RequestParts& AParts)
{
    std::string Path = Narrow(AParts.ObjectName);
    if (AVerb == "OPTIONS" && Path == "*")
        return Path; // the server as a whole (RFC 9112, 3.2.4)
    return HttpClient::TargetFromPath(Path, AParts.Escapes);
}

/// An absent version is the newest one. Empty for one that isn't known.
std::optional<bool> IsVersion10(const char16_t* AVersion)
{
    const std::u16string_view Version = AVersion != nullptr ? AVersion : u"";
    if (Version == u"HTTP/1.0")
        return true;
    return Version.empty() || Version == u"HTTP/1.1" ? std::optional(false) : std::nullopt;
}

std::uint32_t AddFirstFields(Request& ARequest, const std::string& AReferrer, const std::string& AAccept,
                             bool ANoCache)
{
    if (!IsOneLine(AReferrer) || !IsOneLine(AAccept))
        return ERROR_INVALID_PARAMETER;
    if (!AAccept.empty())
        ARequest.AddField("Accept", Grammar::TrimBlanks(AAccept));
    if (!AReferrer.empty())
        ARequest.AddField("Referer", Grammar::TrimBlanks(AReferrer));
    if (ANoCache)
        ARequest.AddField("Pragma", "no-cache");
    return NO_ERROR;
}

} // namespace

std::uint32_t MakeSession(const SessionParts& AParts, std::shared_ptr<Session>& AResult)
{
    if (AParts.Async)
        return ERROR_NOT_SUPPORTED;
    const std::string Agent = Narrow(AParts.UserAgent);
    ProxyRules Proxies;
    const std::uint32_t Error =
        ChooseProxies(AParts.AccessType, Narrow(AParts.Proxy), Narrow(AParts.Bypass), Proxies);
    if (Error != NO_ERROR || !IsOneLine(Agent))
        return Error != NO_ERROR ? Error : ERROR_INVALID_PARAMETER;
    AResult = std::make_shared<Session>(Agent, std::move(Proxies));
    return NO_ERROR;
}

std::uint32_t MakeConnection(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                             std::shared_ptr<Connection>& AResult)
{
    const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(ASession));
    if (As<Session>(Object) == nullptr)
        return ErrorOfHandle(Object);
    std::string Host = HttpClient::HostForUrl(Narrow(AServerName));
    if (Host.empty())
        return ERROR_WINHTTP_INVALID_URL;
    AResult = std::make_shared<Connection>(std::static_pointer_cast<Session>(Object), std::move(Host), APort);
    return NO_ERROR;
}

std::uint32_t MakeRequest(HINTERNET AConnection, const RequestParts& AParts,
                          std::shared_ptr<Request>& AResult)
{
    const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AConnection));
    if (As<Connection>(Object) == nullptr)
        return ErrorOfHandle(Object);
    Request::Line Line;
    Line.Verb = AParts.Verb == nullptr || *AParts.Verb == 0 ? "GET" : Narrow(AParts.Verb);
    Line.Target = TargetFor(Line.Verb, AParts);
    Line.Secure = AParts.Secure;
    const std::optional<bool> Version10 = IsVersion10(AParts.Version);
    if (!Grammar::IsToken(Line.Verb) || !Version10)
        return ERROR_INVALID_PARAMETER;
    Line.Version10 = *Version10;
    if (Line.Target.empty())
        return ERROR_WINHTTP_INVALID_URL;
    AResult = std::make_shared<Request>(std::static_pointer_cast<Connection>(Object), std::move(Line));
    return AddFirstFields(*AResult, Narrow(AParts.Referrer), Joined(AParts.AcceptTypes), AParts.NoCache);
}

std::uint32_t Publish(std::shared_ptr<KernelObject> AObject, HINTERNET& AHandle)
{
    AHandle = reinterpret_cast<HINTERNET>(RegisterHandle(std::move(AObject)));
    return AHandle == nullptr ? GetLastError() : NO_ERROR;
}

std::uint32_t CloseOwn(HINTERNET AHandle)
{
    // Handles of other services stand in the same table; they aren't this one's to close.
    const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
    const bool Ours =
        As<Request>(Object) != nullptr || As<Connection>(Object) != nullptr || As<Session>(Object) != nullptr;
    return Ours && CloseHandle(NumberOf(AHandle)) ? NO_ERROR : ERROR_INVALID_HANDLE;
}

HttpClient::FieldChange ChangeFor(std::uint32_t AModifiers)
{
    HttpClient::FieldChange Change;
    Change.Add = (AModifiers & WINHTTP_ADDREQ_FLAG_ADD) != 0;
    Change.IfNew = (AModifiers & WINHTTP_ADDREQ_FLAG_ADD_IF_NEW) != 0;
    Change.Replace = (AModifiers & WINHTTP_ADDREQ_FLAG_REPLACE) != 0;
    if ((AModifiers & WINHTTP_ADDREQ_FLAG_COALESCE_WITH_COMMA) != 0)
        Change.Coalesce = ',';
    else if ((AModifiers & WINHTTP_ADDREQ_FLAG_COALESCE_WITH_SEMICOLON) != 0)
        Change.Coalesce = ';';
    return Change;
}

} // namespace Zn::Winhttp
