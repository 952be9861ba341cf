#include "uZnHTTPClient/Transports.h"

#include <array>
#include <atomic>

#include "uZnHTTPBase/HTTPExceptions.h"

namespace
{

// Constant-initialised: units register from static objects, in no known order.
constinit std::array<std::atomic<const Zn::TransportFactory*>, 2> Factories{};

} // namespace

void Zn::RegisterTransport(bool ANTService, const TransportFactory& AFactory)
{
    Factories[ANTService ? 1 : 0] = &AFactory;
}

const Zn::TransportFactory& Zn::FindTransport(bool ANTService)
{
    const TransportFactory* const Factory = Factories[ANTService ? 1 : 0];
    if (Factory == nullptr)
        throw EZnHTTPInvalidArgument(
            ANTService ? "The HTTP transport for services (uZnWinHTTP) isn't part of this program!"
                       : "The HTTP transport for user sessions (uZnWinINet) isn't part of this program!");
    return *Factory;
}
