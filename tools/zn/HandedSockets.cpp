#include "tools/zn/HandedSockets.h"

#include <algorithm>

#include "common/Exceptions.h"
#include "uZnHTTPBase.h"

namespace Zn
{

namespace
{

bool UsesPort(const std::string& ABinding, std::uint16_t APort)
{
    try {
        return ZnDecodeURL(ABinding).Port == APort;
    } catch (const EInvalidArgument&) {
        return false; // told when it is added
    }
}

} // namespace

std::vector<std::string> BindingsFor(const TServeOptions& AOptions,
                                     const std::vector<TZnListenSocket>& ASockets)
{
    if (ASockets.empty())
        return AOptions.Bindings;
    std::vector<std::string> Bindings;
    if (AOptions.HasOwnBindings)
        Bindings = AOptions.Bindings;
    for (const TZnListenSocket& Each : ASockets) {
        const bool IsUsed = std::any_of(Bindings.begin(), Bindings.end(), [&](const std::string& ABinding) {
            return UsesPort(ABinding, Each.Port);
        });
        if (IsUsed)
            continue;
        const std::string Port = std::to_string(Each.Port);
        if (AOptions.HasOwnBindings)
            throw Exception("the service manager handed in a socket on port " + Port +
                            ", and no --bind uses that port");
        Bindings.push_back((Each.Name == "https" ? "https://*:" : "http://*:") + Port + "/");
    }
    return Bindings;
}

} // namespace Zn
