// Sessions, connections, requests and their bodies. What is asked about a head stands in Queries.cpp, options
// in Options.cpp.

#include <algorithm>

#include "platform/httpapi/Grammar.h"
#include "platform/winhttp/Calls.h"

using namespace Zn;
using namespace Zn::Winhttp;
using HttpClient::Connection;
using HttpClient::ProxyRules;
using HttpClient::Request;
using HttpClient::Session;

namespace
{

HINTERNET HandleFor(std::shared_ptr<KernelObject> AObject)
{
    return reinterpret_cast<HINTERNET>(RegisterHandle(std::move(AObject)));
}

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

std::string Joined(const char16_t* const* ATypes)
{
    std::string Result;
    for (; ATypes != nullptr && *ATypes != nullptr; ++ATypes)
        Result.append(Result.empty() ? "" : ", ").append(Narrow(*ATypes));
    return Result;
}

std::string TargetFor(const std::string& AVerb, const char16_t* AObjectName, std::uint32_t AFlags)
{
    std::string Path = Narrow(AObjectName);
    if (AVerb == "OPTIONS" && Path == "*")
        return Path; // the server as a whole (RFC 9112, 3.2.4)
    return HttpClient::TargetFromPath(Path,
                                      {.Percent = (AFlags & WINHTTP_FLAG_ESCAPE_PERCENT) != 0,
                                       .LeavePath = (AFlags & WINHTTP_FLAG_ESCAPE_DISABLE) != 0,
                                       .LeaveQuery = (AFlags & WINHTTP_FLAG_ESCAPE_DISABLE_QUERY) != 0});
}

std::uint32_t AddFirstFields(Request& ARequest, const std::string& AReferrer, const std::string& AAccept,
                             std::uint32_t AFlags)
{
    if (!IsOneLine(AReferrer) || !IsOneLine(AAccept))
        return ERROR_INVALID_PARAMETER;
    std::string Lines;
    if (!AAccept.empty())
        Lines += "Accept: " + AAccept + "\r\n";
    if (!AReferrer.empty())
        Lines += "Referer: " + AReferrer + "\r\n";
    if ((AFlags & WINHTTP_FLAG_REFRESH) != 0)
        Lines += "Pragma: no-cache\r\n";
    return ARequest.ChangeFields(Lines, {.Add = true});
}

} // namespace

HINTERNET WinHttpOpen(const char16_t* AUserAgent, std::uint32_t AAccessType, const char16_t* AProxyName,
                      const char16_t* AProxyBypass, std::uint32_t AFlags)
{
    HINTERNET Result = nullptr;
    Run([&]() -> std::uint32_t {
        if ((AFlags & WINHTTP_FLAG_ASYNC) != 0)
            return ERROR_NOT_SUPPORTED;
        const std::string Agent = Narrow(AUserAgent);
        ProxyRules Proxies;
        const std::uint32_t Error =
            ChooseProxies(AAccessType, Narrow(AProxyName), Narrow(AProxyBypass), Proxies);
        if (Error != NO_ERROR || !IsOneLine(Agent))
            return Error != NO_ERROR ? Error : ERROR_INVALID_PARAMETER;
        Result = HandleFor(std::make_shared<Session>(Agent, std::move(Proxies)));
        return Result == nullptr ? GetLastError() : NO_ERROR;
    });
    return Result;
}

bool WinHttpCloseHandle(HINTERNET AHandle)
{
    return Run([&]() -> std::uint32_t {
        // Handles of other services stand in the same table; they aren't this one's to close.
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
        const bool Ours = As<Request>(Object) != nullptr || As<Connection>(Object) != nullptr ||
                          As<Session>(Object) != nullptr;
        return Ours && CloseHandle(NumberOf(AHandle)) ? NO_ERROR : ERROR_INVALID_HANDLE;
    });
}

HINTERNET WinHttpConnect(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                         std::uint32_t /*AReserved*/)
{
    HINTERNET Result = nullptr;
    Run([&]() -> std::uint32_t {
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(ASession));
        if (As<Session>(Object) == nullptr)
            return ErrorOfHandle(Object);
        std::string Host = HttpClient::HostForUrl(Narrow(AServerName));
        if (Host.empty())
            return ERROR_WINHTTP_INVALID_URL;
        Result = HandleFor(
            std::make_shared<Connection>(std::static_pointer_cast<Session>(Object), std::move(Host), APort));
        return Result == nullptr ? GetLastError() : NO_ERROR;
    });
    return Result;
}

HINTERNET WinHttpOpenRequest(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObjectName,
                             const char16_t* AVersion, const char16_t* AReferrer,
                             const char16_t* const* AAcceptTypes, std::uint32_t AFlags)
{
    HINTERNET Result = nullptr;
    Run([&]() -> std::uint32_t {
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AConnection));
        if (As<Connection>(Object) == nullptr)
            return ErrorOfHandle(Object);
        Request::Line Line;
        Line.Verb = AVerb == nullptr || *AVerb == 0 ? "GET" : Narrow(AVerb);
        Line.Target = TargetFor(Line.Verb, AObjectName, AFlags);
        Line.Secure = (AFlags & WINHTTP_FLAG_SECURE) != 0;
        const std::string Version = Narrow(AVersion);
        Line.Version10 = Version == "HTTP/1.0";
        if (!Grammar::IsToken(Line.Verb) || (!Version.empty() && !Line.Version10 && Version != "HTTP/1.1"))
            return ERROR_INVALID_PARAMETER;
        if (Line.Target.empty())
            return ERROR_WINHTTP_INVALID_URL;
        auto Opened =
            std::make_shared<Request>(std::static_pointer_cast<Connection>(Object), std::move(Line));
        const std::uint32_t Error = AddFirstFields(*Opened, Narrow(AReferrer), Joined(AAcceptTypes), AFlags);
        if (Error != NO_ERROR)
            return Error;
        Result = HandleFor(std::move(Opened));
        return Result == nullptr ? GetLastError() : NO_ERROR;
    });
    return Result;
}

bool WinHttpAddRequestHeaders(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t ALength,
                              std::uint32_t AModifiers)
{
    return RunOn(ARequest, [&](Request& ATarget) {
        if (AHeaders == nullptr)
            return ERROR_INVALID_PARAMETER + 0U;
        return ATarget.ChangeFields(Narrow(AHeaders, ALength), ChangeFor(AModifiers));
    });
}

bool WinHttpSetCredentials(HINTERNET ARequest, std::uint32_t ATarget, std::uint32_t AScheme,
                           const char16_t* AUserName, const char16_t* APassword, void* /*AReserved*/)
{
    return RunOn(ARequest, [&](Request& AOwner) {
        constexpr std::uint32_t cSchemes[] = {WINHTTP_AUTH_SCHEME_BASIC, WINHTTP_AUTH_SCHEME_NTLM,
                                              WINHTTP_AUTH_SCHEME_PASSPORT, WINHTTP_AUTH_SCHEME_DIGEST,
                                              WINHTTP_AUTH_SCHEME_NEGOTIATE};
        if (std::ranges::find(cSchemes, AScheme) == std::end(cSchemes) || ATarget > WINHTTP_AUTH_TARGET_PROXY)
            return ERROR_INVALID_PARAMETER + 0U;
        return AOwner.SetLogin(ATarget == WINHTTP_AUTH_TARGET_PROXY,
                               {AScheme, Narrow(AUserName), Narrow(APassword)});
    });
}

bool WinHttpQueryAuthSchemes(HINTERNET ARequest, std::uint32_t* ASupported, std::uint32_t* AFirst,
                             std::uint32_t* ATarget)
{
    return RunOn(ARequest, [&](Request& AOwner) {
        if (ASupported == nullptr || AFirst == nullptr || ATarget == nullptr)
            return ERROR_INVALID_PARAMETER + 0U;
        HttpClient::Challenge Asked;
        bool ByProxy = false;
        const std::uint32_t Error = AOwner.Asked(Asked, ByProxy);
        *ASupported = Asked.Offered;
        *AFirst = Asked.Best;
        *ATarget = ByProxy ? WINHTTP_AUTH_TARGET_PROXY : WINHTTP_AUTH_TARGET_SERVER;
        return Error;
    });
}

bool WinHttpSendRequest(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t AHeadersLength,
                        const void* AOptional, std::uint64_t AOptionalLength, std::uint64_t ATotalLength,
                        std::uintptr_t /*AContext*/)
{
    return RunOn(ARequest, [&](Request& ATarget) {
        if (ATotalLength != AOptionalLength || (AOptional == nullptr && AOptionalLength != 0))
            return ERROR_INVALID_PARAMETER + 0U;
        return ATarget.Send(Narrow(AHeaders, AHeadersLength),
                            {static_cast<const std::byte*>(AOptional), AOptionalLength});
    });
}

bool WinHttpReceiveResponse(HINTERNET ARequest, void* /*AReserved*/)
{
    return RunOn(ARequest, [](Request& ATarget) {
        return ATarget.ViewHead([](const HttpClient::ResponseHead&) { return NO_ERROR + 0U; });
    });
}

bool WinHttpQueryDataAvailable(HINTERNET ARequest, std::uint32_t* AAvailable)
{
    return RunOn(ARequest, [&](Request& ATarget) {
        std::size_t Available = 0;
        const std::uint32_t Error = ATarget.WaitForData(Available);
        if (AAvailable != nullptr)
            *AAvailable = static_cast<std::uint32_t>(Available);
        return Error;
    });
}

bool WinHttpReadData(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead)
{
    return RunOn(ARequest, [&](Request& ATarget) {
        if (ABuffer == nullptr && ASize != 0)
            return ERROR_INVALID_PARAMETER + 0U;
        std::size_t Count = 0;
        const std::uint32_t Error = ATarget.Read(ABuffer, ASize, Count);
        if (ARead != nullptr)
            *ARead = static_cast<std::uint32_t>(Count);
        return Error;
    });
}
