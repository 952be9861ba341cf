#include "platform/winhttp/OptionValue.h"

namespace Zn::Winhttp
{

std::uint32_t SetLimits(HttpClient::Settings& ASettings, const OptionValue& AValue)
{
    TZnHttpClientLimits Limits;
    if (!AValue.Take(Limits))
        return ERROR_INVALID_PARAMETER;
    const bool Possible = Limits.HeaderBytes != 0 && Limits.HeaderBytes <= 262144 &&
                          Limits.HeaderLines != 0 && Limits.HeaderLines <= 65536 &&
                          Limits.IdleConnections != 0 && Limits.IdleConnections <= 1024;
    if (!Possible)
        return ERROR_INVALID_PARAMETER;
    ASettings.HeadLimits = {Limits.HeaderBytes, Limits.HeaderLines};
    ASettings.DrainBytes = Limits.DrainBytes;
    ASettings.IdleConnections = Limits.IdleConnections;
    return NO_ERROR;
}

std::uint32_t SetBodySource(HttpClient::Request& ARequest, const OptionValue& AValue)
{
    TZnHttpBodySource Source{};
    if (!AValue.IsEmpty() && (!AValue.Take(Source) || Source.Read == nullptr))
        return ERROR_INVALID_PARAMETER;
    return ARequest.SetBodySource({Source.Context, Source.TotalLength, Source.Read, Source.Rewind});
}

} // namespace Zn::Winhttp
