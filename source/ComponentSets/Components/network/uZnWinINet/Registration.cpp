#include "uZnHTTPClient/Transports.h"
#include "uZnWinINet.h"

namespace
{

std::unique_ptr<TComponent> MakeClient()
{
    return std::make_unique<TZnWinINetClient>(nullptr);
}

std::unique_ptr<TComponent> MakeSession()
{
    return std::make_unique<TZnWinINetSession>(nullptr);
}

constexpr Zn::TransportFactory cFactory{&MakeClient, &MakeSession};

} // namespace

/// The symbol that keeps this file in every program that links the unit.
extern "C" bool ZnWinINetTransportRegistered;
bool ZnWinINetTransportRegistered = (Zn::RegisterTransport(false, cFactory), true);
