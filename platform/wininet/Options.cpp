// InternetSetOptionW and InternetQueryOptionW.

#include "platform/winhttp/OptionValue.h"
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

constexpr std::uint32_t cForgivable =
    SECURITY_FLAG_IGNORE_UNKNOWN_CA | SECURITY_FLAG_IGNORE_CERT_WRONG_USAGE |
    SECURITY_FLAG_IGNORE_CERT_CN_INVALID | SECURITY_FLAG_IGNORE_CERT_DATE_INVALID;

/// One of the three time-outs, or nullptr.
std::uint32_t* TimeOf(HttpClient::Patience& APatience, std::uint32_t AOption)
{
    switch (AOption) {
    case INTERNET_OPTION_CONNECT_TIMEOUT:
        return &APatience.Connect;
    case INTERNET_OPTION_SEND_TIMEOUT:
        return &APatience.Send;
    case INTERNET_OPTION_RECEIVE_TIMEOUT:
        return &APatience.Receive;
    default:
        return nullptr;
    }
}

std::uint32_t SetTime(HttpClient::Patience& APatience, std::uint32_t AOption, const OptionValue& AValue)
{
    std::uint32_t* const Time = TimeOf(APatience, AOption);
    if (Time == nullptr)
        return ERROR_WINHTTP_INVALID_OPTION;
    return AValue.Take(*Time) ? NO_ERROR : ERROR_INVALID_PARAMETER;
}

std::uint32_t SetForgiven(Settings& ASettings, const OptionValue& AValue)
{
    std::uint32_t Flags = 0;
    if (!AValue.Take(Flags) || (Flags & ~(cForgivable | SECURITY_FLAG_IGNORE_REVOCATION)) != 0)
        return ERROR_INVALID_PARAMETER;
    ASettings.Tls.Forgiven = Flags & cForgivable;
    ASettings.Tls.Revocation = (Flags & SECURITY_FLAG_IGNORE_REVOCATION) == 0;
    return NO_ERROR;
}

std::uint32_t SetOn(Request& ARequest, std::uint32_t AOption, const OptionValue& AValue)
{
    switch (AOption) {
    case INTERNET_OPTION_CLIENT_CERT_CONTEXT:
        return ARequest.SetCertificate(AValue.Bytes());
    case ZN_OPTION_CLIENT_CERT_PASSWORD:
        return ARequest.SetCertificatePassword(AValue.Text());
    case ZN_OPTION_BODY_SOURCE:
        return SetBodySource(ARequest, AValue);
    case ZN_OPTION_LIMITS:
        return ARequest.ChangeSettings([&](Settings& ASettings) { return SetLimits(ASettings, AValue); });
    case INTERNET_OPTION_SECURITY_FLAGS:
        return ARequest.ChangeSettings([&](Settings& ASettings) { return SetForgiven(ASettings, AValue); });
    case INTERNET_OPTION_URL:
        return ERROR_WINHTTP_OPTION_NOT_SETTABLE;
    default:
        return ARequest.ChangeSettings(
            [&](Settings& ASettings) { return SetTime(ASettings.Patience, AOption, AValue); });
    }
}

std::uint32_t SetOn(Session& ASession, std::uint32_t AOption, const OptionValue& AValue)
{
    std::uint32_t Error = NO_ERROR;
    ASession.ChangeDefaults([&](Settings& ASettings) {
        if (AOption == ZN_OPTION_CA_FILE)
            ASettings.Tls.AuthoritiesFile = AValue.Text();
        else if (AOption == ZN_OPTION_LIMITS)
            Error = SetLimits(ASettings, AValue);
        else
            Error = SetTime(ASettings.Patience, AOption, AValue);
    });
    return Error;
}

/// The texts' sizes count characters.
std::uint32_t SetOn(Connection& AConnection, std::uint32_t AOption, const void* ABuffer,
                    std::uint32_t ALength)
{
    if (AOption != INTERNET_OPTION_PROXY_USERNAME && AOption != INTERNET_OPTION_PROXY_PASSWORD)
        return ERROR_WINHTTP_INVALID_OPTION;
    if (ABuffer == nullptr && ALength != 0)
        return ERROR_INVALID_PARAMETER;
    AConnection.ChangeAccount(true, [&](HttpClient::Account& AAccount) {
        (AOption == INTERNET_OPTION_PROXY_USERNAME ? AAccount.User : AAccount.Password) =
            Narrow(static_cast<const char16_t*>(ABuffer), ALength);
    });
    return NO_ERROR;
}

std::uint32_t SetOnProcess(std::uint32_t AOption, const OptionValue& AValue)
{
    HttpClient::Patience Scratch;
    if (const std::uint32_t Error = SetTime(Scratch, AOption, AValue))
        return Error;
    Wininet::SetDefaultPatience(AOption, *TimeOf(Scratch, AOption));
    return NO_ERROR;
}

std::uint32_t QueryIn(Settings ASettings, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize)
{
    if (const std::uint32_t* const Time = TimeOf(ASettings.Patience, AOption))
        return PutValue(Time, sizeof *Time, ABuffer, ASize);
    if (AOption != INTERNET_OPTION_SECURITY_FLAGS)
        return ERROR_WINHTTP_INVALID_OPTION;
    const std::uint32_t Flags =
        ASettings.Tls.Forgiven | (ASettings.Tls.Revocation ? 0 : SECURITY_FLAG_IGNORE_REVOCATION);
    return PutValue(&Flags, sizeof Flags, ABuffer, ASize);
}

std::uint32_t QueryOn(Request& ARequest, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize)
{
    if (AOption == INTERNET_OPTION_URL) {
        std::string Address;
        const std::uint32_t Error = ARequest.Address(Address);
        return Error == NO_ERROR ? PutText(Address, ABuffer, ASize) : Error;
    }
    return ARequest.ChangeSettings(
        [&](const Settings& ASettings) { return QueryIn(ASettings, AOption, ABuffer, ASize); });
}

} // namespace

bool InternetSetOptionW(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize)
{
    return Run([&]() -> std::uint32_t {
        const OptionValue Given{ABuffer, ASize};
        if (AHandle == nullptr)
            return SetOnProcess(AOption, Given);
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
        if (auto* Target = As<Request>(Object))
            return SetOn(*Target, AOption, Given);
        if (auto* Target = As<Session>(Object))
            return SetOn(*Target, AOption, Given);
        if (auto* Target = As<Connection>(Object))
            return SetOn(*Target, AOption, ABuffer, ASize);
        return ERROR_INVALID_HANDLE;
    });
}

bool InternetQueryOptionW(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t* ASize)
{
    return Run([&]() -> std::uint32_t {
        if (ASize == nullptr)
            return ERROR_INVALID_PARAMETER;
        if (AHandle == nullptr) {
            Settings Defaults;
            Defaults.Patience = Wininet::DefaultPatience();
            return QueryIn(std::move(Defaults), AOption, ABuffer, *ASize);
        }
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
        if (auto* Target = As<Request>(Object))
            return QueryOn(*Target, AOption, ABuffer, *ASize);
        if (const auto* Target = As<Session>(Object))
            return QueryIn(Target->Defaults(), AOption, ABuffer, *ASize);
        return As<Connection>(Object) != nullptr ? ERROR_WINHTTP_INVALID_OPTION : ERROR_INVALID_HANDLE;
    });
}
