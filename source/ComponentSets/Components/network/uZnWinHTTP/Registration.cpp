#include "uZnHTTPClient/Transports.h"
#include "uZnWinHTTP.h"

namespace
{

std::unique_ptr<TComponent> MakeClient()
{
    return std::make_unique<TZnWinHTTPClient>(nullptr);
}

std::unique_ptr<TComponent> MakeSession()
{
    return std::make_unique<TZnWinHTTPSession>(nullptr);
}

constexpr Zn::TransportFactory cFactory{&MakeClient, &MakeSession};

} // namespace

/// The symbol that keeps this file in every program that links the unit.
extern "C" bool ZnWinHTTPTransportRegistered;
bool ZnWinHTTPTransportRegistered = (Zn::RegisterTransport(true, cFactory), true);
