// WinHttpSetOption and WinHttpQueryOption.

#include "platform/winhttp/OptionValue.h"
#include "platform/winhttp/Winhttp.h"

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

std::uint32_t Disable(Settings& ASettings, std::uint32_t AFeatures)
{
    if (AFeatures > 15)
        return ERROR_INVALID_PARAMETER;
    if ((AFeatures & WINHTTP_DISABLE_COOKIES) != 0)
        ASettings.Cookies = false;
    if ((AFeatures & WINHTTP_DISABLE_REDIRECTS) != 0)
        ASettings.Redirects = HttpClient::RedirectPolicy::Never;
    if ((AFeatures & WINHTTP_DISABLE_AUTHENTICATION) != 0)
        ASettings.Authentication = false;
    if ((AFeatures & WINHTTP_DISABLE_KEEP_ALIVE) != 0)
        ASettings.KeepAlive = false;
    return NO_ERROR;
}

/// Options whose value is a number. 12009 for what is none of them; a refused value changes nothing.
std::uint32_t SetNumber(Settings& ASettings, std::uint32_t AOption, std::uint32_t AValue)
{
    switch (AOption) {
    case WINHTTP_OPTION_RESOLVE_TIMEOUT:
        return NO_ERROR;
    case WINHTTP_OPTION_CONNECT_TIMEOUT:
        ASettings.Patience.Connect = AValue;
        return NO_ERROR;
    case WINHTTP_OPTION_SEND_TIMEOUT:
        ASettings.Patience.Send = AValue;
        return NO_ERROR;
    case WINHTTP_OPTION_RECEIVE_TIMEOUT:
        ASettings.Patience.Receive = AValue;
        return NO_ERROR;
    case WINHTTP_OPTION_SECURITY_FLAGS:
        if ((AValue & ~cForgivable) != 0)
            return ERROR_INVALID_PARAMETER;
        ASettings.Tls.Forgiven = AValue;
        return NO_ERROR;
    case WINHTTP_OPTION_DISABLE_FEATURE:
        return Disable(ASettings, AValue);
    case WINHTTP_OPTION_AUTOLOGON_POLICY:
        if (AValue > 2)
            return ERROR_INVALID_PARAMETER;
        ASettings.AutologonPolicy = AValue;
        return NO_ERROR;
    case WINHTTP_OPTION_ENABLE_FEATURE:
        if (AValue != WINHTTP_ENABLE_SSL_REVOCATION)
            return ERROR_INVALID_PARAMETER;
        ASettings.Tls.Revocation = true;
        return NO_ERROR;
    case WINHTTP_OPTION_SECURE_PROTOCOLS:
        if ((AValue & (HttpClient::Tls12 | HttpClient::Tls13)) == 0)
            return ERROR_NOT_SUPPORTED;
        ASettings.Tls.Versions = AValue & (HttpClient::Tls12 | HttpClient::Tls13);
        return NO_ERROR;
    case WINHTTP_OPTION_REDIRECT_POLICY:
        if (AValue > WINHTTP_OPTION_REDIRECT_POLICY_ALWAYS)
            return ERROR_INVALID_PARAMETER;
        ASettings.Redirects = static_cast<HttpClient::RedirectPolicy>(AValue);
        return NO_ERROR;
    case WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS:
        ASettings.MaxRedirects = AValue;
        return NO_ERROR;
    default:
        return ERROR_WINHTTP_INVALID_OPTION;
    }
}

std::uint32_t SetCommon(Settings& ASettings, std::uint32_t AOption, const OptionValue& AValue)
{
    if (AOption == ZN_OPTION_LIMITS)
        return SetLimits(ASettings, AValue);
    std::uint32_t Number = 0;
    if (AValue.Take(Number))
        return SetNumber(ASettings, AOption, Number);
    Settings Scratch; // tells an unknown option from a known one without its value
    return SetNumber(Scratch, AOption, 0) == ERROR_WINHTTP_INVALID_OPTION ? ERROR_WINHTTP_INVALID_OPTION
                                                                          : ERROR_INVALID_PARAMETER;
}

std::uint32_t SetOn(Request& ARequest, std::uint32_t AOption, const OptionValue& AValue)
{
    switch (AOption) {
    case WINHTTP_OPTION_CLIENT_CERT_CONTEXT:
        return ARequest.SetCertificate(AValue.Bytes());
    case ZN_OPTION_CLIENT_CERT_PASSWORD:
        return ARequest.SetCertificatePassword(AValue.Text());
    case ZN_OPTION_BODY_SOURCE:
        return SetBodySource(ARequest, AValue);
    case WINHTTP_OPTION_URL:
        return ERROR_WINHTTP_OPTION_NOT_SETTABLE;
    default:
        return ARequest.ChangeSettings(
            [&](Settings& ASettings) { return SetCommon(ASettings, AOption, AValue); });
    }
}

std::uint32_t SetOn(Session& ASession, std::uint32_t AOption, const OptionValue& AValue)
{
    std::uint32_t Error = NO_ERROR;
    ASession.ChangeDefaults([&](Settings& ASettings) {
        if (AOption == ZN_OPTION_CA_FILE)
            ASettings.Tls.AuthoritiesFile = AValue.Text();
        else
            Error = SetCommon(ASettings, AOption, AValue);
    });
    return Error;
}

std::uint32_t SetOn(Connection& AConnection, std::uint32_t AOption, const OptionValue& AValue)
{
    std::uint32_t Time = 0;
    if (AOption != WINHTTP_OPTION_CONNECT_TIMEOUT)
        return ERROR_WINHTTP_INVALID_OPTION;
    if (!AValue.Take(Time))
        return ERROR_INVALID_PARAMETER;
    AConnection.SetConnectTime(Time);
    return NO_ERROR;
}

std::uint32_t NumberIn(const Settings& ASettings, std::uint32_t AOption, std::uint32_t& AResult)
{
    switch (AOption) {
    case WINHTTP_OPTION_CONNECT_TIMEOUT:
        AResult = ASettings.Patience.Connect;
        return NO_ERROR;
    case WINHTTP_OPTION_SEND_TIMEOUT:
        AResult = ASettings.Patience.Send;
        return NO_ERROR;
    case WINHTTP_OPTION_RECEIVE_TIMEOUT:
        AResult = ASettings.Patience.Receive;
        return NO_ERROR;
    case WINHTTP_OPTION_SECURITY_FLAGS:
        AResult = ASettings.Tls.Forgiven;
        return NO_ERROR;
    case WINHTTP_OPTION_AUTOLOGON_POLICY:
        AResult = ASettings.AutologonPolicy;
        return NO_ERROR;
    case WINHTTP_OPTION_SECURE_PROTOCOLS:
        AResult = ASettings.Tls.Versions;
        return NO_ERROR;
    case WINHTTP_OPTION_REDIRECT_POLICY:
        AResult = static_cast<std::uint32_t>(ASettings.Redirects);
        return NO_ERROR;
    case WINHTTP_OPTION_MAX_HTTP_AUTOMATIC_REDIRECTS:
        AResult = ASettings.MaxRedirects;
        return NO_ERROR;
    default:
        return ERROR_WINHTTP_INVALID_OPTION;
    }
}

std::uint32_t QueryIn(const Settings& ASettings, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize)
{
    if (AOption == ZN_OPTION_LIMITS) {
        const TZnHttpClientLimits Limits{ASettings.HeadLimits.Bytes, ASettings.HeadLimits.Lines,
                                         ASettings.DrainBytes, ASettings.IdleConnections};
        return PutValue(&Limits, sizeof(Limits), ABuffer, ASize);
    }
    std::uint32_t Number = 0;
    const std::uint32_t Error = NumberIn(ASettings, AOption, Number);
    return Error == NO_ERROR ? PutValue(&Number, sizeof(Number), ABuffer, ASize) : Error;
}

std::uint32_t QueryOn(Request& ARequest, std::uint32_t AOption, void* ABuffer, std::uint32_t& ASize)
{
    if (AOption == WINHTTP_OPTION_URL) {
        std::string Address;
        const std::uint32_t Error = ARequest.Address(Address);
        return Error == NO_ERROR ? PutText(Address, ABuffer, ASize) : Error;
    }
    return ARequest.ChangeSettings(
        [&](const Settings& ASettings) { return QueryIn(ASettings, AOption, ABuffer, ASize); });
}

} // namespace

bool WinHttpSetOption(HINTERNET AHandle, std::uint32_t AOption, const void* ABuffer, std::uint32_t ASize)
{
    return Run([&]() -> std::uint32_t {
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
        const OptionValue Given{ABuffer, ASize};
        if (auto* Target = As<Request>(Object))
            return SetOn(*Target, AOption, Given);
        if (auto* Target = As<Session>(Object))
            return SetOn(*Target, AOption, Given);
        if (auto* Target = As<Connection>(Object))
            return SetOn(*Target, AOption, Given);
        return ERROR_INVALID_HANDLE;
    });
}

bool WinHttpQueryOption(HINTERNET AHandle, std::uint32_t AOption, void* ABuffer, std::uint32_t* ASize)
{
    return Run([&]() -> std::uint32_t {
        const std::shared_ptr<KernelObject> Object = LookupHandle(NumberOf(AHandle));
        if (ASize == nullptr)
            return ERROR_INVALID_PARAMETER;
        if (auto* Target = As<Request>(Object))
            return QueryOn(*Target, AOption, ABuffer, *ASize);
        if (const auto* Target = As<Session>(Object))
            return QueryIn(Target->Defaults(), AOption, ABuffer, *ASize);
        if (const auto* Target = As<Connection>(Object))
            return QueryIn(Target->Defaults(), AOption, ABuffer, *ASize);
        return ERROR_INVALID_HANDLE;
    });
}
