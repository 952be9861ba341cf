// Forwarded and X-Forwarded-For: the client is never an address that only an untrusted hop names.

#include <string_view>

#include "fuzz/FuzzCheck.h"
#include "uZnHTTPServer/ForwardedHops.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    const std::string_view Field(reinterpret_cast<const char*>(AData), ALength);
    Zn::ForwardedHops Hops;
    Hops.For = Zn::ReadForwardedList(Field);
    if (const auto Read = Zn::ReadForwarded(Field)) {
        Zn::FuzzCheck(Read->For.size() == Read->Proto.size() && Read->For.size() == Read->Host.size(),
                      "one entry for each element");
        Zn::FindClient(*Read, {});
    }
    const Zn::ForwardedClient Client = Zn::FindClient(Hops, {}); // nobody is trusted but the peer itself
    const auto Nearest = Hops.For.empty() ? std::nullopt : Zn::EndpointOfHop(Hops.For.back());
    Zn::FuzzCheck(Client.Address.has_value() == Nearest.has_value(), "the nearest hop or nobody");
    if (Nearest)
        Zn::FuzzCheck(Zn::AddressText(*Client.Address) == Zn::AddressText(*Nearest), "no hop further out");
    return 0;
}
