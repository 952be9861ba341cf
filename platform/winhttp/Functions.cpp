// Sessions, connections, requests and their bodies. What is asked about a head stands in Queries.cpp, options
// in Options.cpp.

#include <algorithm>

#include "platform/winhttp/Opening.h"
#include "platform/winhttp/Winhttp.h"

using namespace Zn;
using namespace Zn::Winhttp;
using HttpClient::Request;

HINTERNET WinHttpOpen(const char16_t* AUserAgent, std::uint32_t AAccessType, const char16_t* AProxyName,
                      const char16_t* AProxyBypass, std::uint32_t AFlags)
{
    HINTERNET Result = nullptr;
    Run([&] {
        std::shared_ptr<HttpClient::Session> Opened;
        const std::uint32_t Error = MakeSession(
            {AUserAgent, AAccessType, AProxyName, AProxyBypass, (AFlags & WINHTTP_FLAG_ASYNC) != 0}, Opened);
        return Error == NO_ERROR ? Publish(std::move(Opened), Result) : Error;
    });
    return Result;
}

bool WinHttpCloseHandle(HINTERNET AHandle)
{
    return Run([&] { return CloseOwn(AHandle); });
}

HINTERNET WinHttpConnect(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                         std::uint32_t /*AReserved*/)
{
    HINTERNET Result = nullptr;
    Run([&] {
        std::shared_ptr<HttpClient::Connection> Opened;
        const std::uint32_t Error = MakeConnection(ASession, AServerName, APort, Opened);
        return Error == NO_ERROR ? Publish(std::move(Opened), Result) : Error;
    });
    return Result;
}

HINTERNET WinHttpOpenRequest(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObjectName,
                             const char16_t* AVersion, const char16_t* AReferrer,
                             const char16_t* const* AAcceptTypes, std::uint32_t AFlags)
{
    HINTERNET Result = nullptr;
    Run([&] {
        const HttpClient::TargetEscapes Escapes{.Percent = (AFlags & WINHTTP_FLAG_ESCAPE_PERCENT) != 0,
                                                .LeavePath = (AFlags & WINHTTP_FLAG_ESCAPE_DISABLE) != 0,
                                                .LeaveQuery =
                                                    (AFlags & WINHTTP_FLAG_ESCAPE_DISABLE_QUERY) != 0};
        std::shared_ptr<Request> Opened;
        const std::uint32_t Error =
            MakeRequest(AConnection,
                        {AVerb, AObjectName, AVersion, AReferrer, AAcceptTypes, Escapes,
                         (AFlags & WINHTTP_FLAG_SECURE) != 0, (AFlags & WINHTTP_FLAG_REFRESH) != 0},
                        Opened);
        return Error == NO_ERROR ? Publish(std::move(Opened), Result) : Error;
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
