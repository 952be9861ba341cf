// Sessions, connections, requests and their bodies, on the parts of the first function set.

#include "platform/winhttp/Opening.h"
#include "platform/winhttp/Queries.h"
#include "platform/wininet/Numbers.h"
#include "platform/wininet/ProcessDefaults.h"
#include "platform/wininet/Wininet.h"

using namespace Zn;
using namespace Zn::Winhttp;
using HttpClient::Connection;
using HttpClient::Request;
using HttpClient::Session;
using HttpClient::Settings;

namespace
{

constexpr std::uint32_t cKnownFlags = INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS |
                                      INTERNET_FLAG_NO_AUTH | INTERNET_FLAG_NO_COOKIES |
                                      INTERNET_FLAG_NO_AUTO_REDIRECT | INTERNET_FLAG_KEEP_CONNECTION |
                                      INTERNET_FLAG_SECURE | INTERNET_FLAG_NO_CACHE_WRITE;

/// The same as Winhttp::RunOn, with this set's numbers.
template <class Work>
bool Perform(HINTERNET ARequest, Work AWork) noexcept
{
    return RunOn(ARequest, [&](Request& ATarget) { return Wininet::NumberFor(AWork(ATarget)); });
}

HttpClient::RedirectPolicy RedirectsFor(std::uint32_t AFlags)
{
    if ((AFlags & INTERNET_FLAG_NO_AUTO_REDIRECT) != 0)
        return HttpClient::RedirectPolicy::Never;
    return (AFlags & INTERNET_FLAG_IGNORE_REDIRECT_TO_HTTPS) != 0
               ? HttpClient::RedirectPolicy::DisallowHttpsToHttp
               : HttpClient::RedirectPolicy::Always;
}

std::uint32_t ApplyFlags(Request& ARequest, std::uint32_t AFlags, std::uint32_t AConnectTime)
{
    return ARequest.ChangeSettings([&](Settings& ASettings) {
        ASettings.Redirects = RedirectsFor(AFlags);
        ASettings.Authentication = (AFlags & INTERNET_FLAG_NO_AUTH) == 0;
        ASettings.Cookies = (AFlags & INTERNET_FLAG_NO_COOKIES) == 0;
        ASettings.KeepAlive = (AFlags & INTERNET_FLAG_KEEP_CONNECTION) != 0;
        ASettings.Tls.Revocation = true;
        ASettings.Patience.Connect = AConnectTime; // the session's, not that of the time of the connection
        return NO_ERROR + 0U;
    });
}

} // namespace

HINTERNET InternetOpenW(const char16_t* AAgent, std::uint32_t AAccessType, const char16_t* AProxy,
                        const char16_t* AProxyBypass, std::uint32_t AFlags)
{
    HINTERNET Result = nullptr;
    Run([&] {
        std::shared_ptr<Session> Opened;
        const std::uint32_t Error = MakeSession(
            {AAgent, AAccessType, AProxy, AProxyBypass, (AFlags & INTERNET_FLAG_ASYNC) != 0}, Opened);
        if (Error != NO_ERROR)
            return Error;
        Opened->ChangeDefaults([](Settings& ASettings) { ASettings.Patience = Wininet::DefaultPatience(); });
        return Publish(std::move(Opened), Result);
    });
    return Result;
}

HINTERNET InternetConnectW(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                           const char16_t* AUserName, const char16_t* APassword, std::uint32_t AService,
                           std::uint32_t /*AFlags*/, std::uintptr_t /*AContext*/)
{
    HINTERNET Result = nullptr;
    Run([&]() -> std::uint32_t {
        if (AService != INTERNET_SERVICE_HTTP)
            return ERROR_NOT_SUPPORTED;
        std::shared_ptr<Connection> Opened;
        const std::uint32_t Error = MakeConnection(ASession, AServerName, APort, Opened);
        if (Error != NO_ERROR)
            return Error;
        Opened->ChangeAccount(false, [&](HttpClient::Account& AAccount) {
            AAccount = {Narrow(AUserName), Narrow(APassword)};
        });
        return Publish(std::move(Opened), Result);
    });
    return Result;
}

bool InternetCloseHandle(HINTERNET AHandle)
{
    return Run([&] { return CloseOwn(AHandle); });
}

HINTERNET HttpOpenRequestW(HINTERNET AConnection, const char16_t* AVerb, const char16_t* AObjectName,
                           const char16_t* AVersion, const char16_t* AReferrer,
                           const char16_t* const* AAcceptTypes, std::uint32_t AFlags,
                           std::uintptr_t /*AContext*/)
{
    HINTERNET Result = nullptr;
    Run([&]() -> std::uint32_t {
        if ((AFlags & ~cKnownFlags) != 0)
            return ERROR_INVALID_PARAMETER;
        std::shared_ptr<Request> Opened;
        std::uint32_t Error = MakeRequest(AConnection,
                                          {AVerb,
                                           AObjectName,
                                           AVersion,
                                           AReferrer,
                                           AAcceptTypes,
                                           {},
                                           (AFlags & INTERNET_FLAG_SECURE) != 0,
                                           (AFlags & INTERNET_FLAG_PRAGMA_NOCACHE) != 0},
                                          Opened);
        if (Error == NO_ERROR)
            Error = ApplyFlags(*Opened, AFlags, Opened->Owner().Defaults().Patience.Connect);
        if (Error != NO_ERROR)
            return Error;
        Opened->TakeAccounts();
        return Publish(std::move(Opened), Result);
    });
    return Result;
}

bool HttpAddRequestHeadersW(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t ALength,
                            std::uint32_t AModifiers)
{
    return Perform(ARequest, [&](Request& ATarget) {
        if (AHeaders == nullptr)
            return ERROR_INVALID_PARAMETER + 0U;
        return ATarget.ChangeFields(Narrow(AHeaders, ALength), ChangeFor(AModifiers));
    });
}

bool HttpSendRequestW(HINTERNET ARequest, const char16_t* AHeaders, std::uint32_t AHeadersLength,
                      const void* AOptional, std::uint32_t AOptionalLength)
{
    return Perform(ARequest, [&](Request& ATarget) {
        if (AOptional == nullptr && AOptionalLength != 0)
            return ERROR_INVALID_PARAMETER + 0U;
        return ATarget.Send(Narrow(AHeaders, AHeadersLength),
                            {static_cast<const std::byte*>(AOptional), AOptionalLength});
    });
}

bool HttpQueryInfoW(HINTERNET ARequest, std::uint32_t AInfoLevel, void* ABuffer, std::uint32_t* ASize,
                    std::uint32_t* AIndex)
{
    return Perform(ARequest, [&](Request& AOwner) {
        const auto* Name = static_cast<const char16_t*>(ABuffer); // of HTTP_QUERY_CUSTOM
        return AnswerQuery(AOwner, AInfoLevel, Name, ABuffer, ASize, AIndex);
    });
}

bool InternetQueryDataAvailable(HINTERNET ARequest, std::uint32_t* AAvailable, std::uint32_t /*AFlags*/,
                                std::uintptr_t /*AContext*/)
{
    return Perform(ARequest, [&](Request& ATarget) {
        std::size_t Available = 0;
        const std::uint32_t Error = ATarget.WaitForData(Available);
        if (AAvailable != nullptr)
            *AAvailable = static_cast<std::uint32_t>(Available);
        return Error;
    });
}

bool InternetReadFile(HINTERNET ARequest, void* ABuffer, std::uint32_t ASize, std::uint32_t* ARead)
{
    return Perform(ARequest, [&](Request& ATarget) {
        if (ABuffer == nullptr && ASize != 0)
            return ERROR_INVALID_PARAMETER + 0U;
        std::size_t Count = 0;
        const std::uint32_t Error = ATarget.Read(ABuffer, ASize, Count);
        if (ARead != nullptr)
            *ARead = static_cast<std::uint32_t>(Count);
        return Error;
    });
}
