#include <vector>

#include <arpa/inet.h>

#include "platform/errors/Errors.h"
#include "platform/icmp/Exports.h"
#include "platform/iphelper/AdapterFunctions.h"
#include "platform/iphelper/Exports.h"
#include "platform/iphelper/Functions.h"

namespace
{

std::uint32_t ConvertLengthToIpv4Mask(std::uint32_t ALength, std::uint32_t* AMask)
{
    if (ALength > 32) {
        *AMask = INADDR_NONE;
        return ERROR_INVALID_PARAMETER;
    }
    *AMask = ALength == 0 ? 0 : htonl(0xFFFFFFFFu << (32 - ALength));
    return NO_ERROR;
}

} // namespace

std::span<const TZnExport> IphlpapiExports()
{
    static const std::vector<TZnExport> Exports = [] {
        const auto Echo = IcmpExports();
        std::vector<TZnExport> Result(Echo.begin(), Echo.end());
        Result.push_back({"ConvertLengthToIpv4Mask",
                          reinterpret_cast<void*>(TConvertLengthToIpv4Mask(ConvertLengthToIpv4Mask))});
        const auto Adapters = Zn::AdapterExports();
        Result.insert(Result.end(), Adapters.begin(), Adapters.end());
        return Result;
    }();
    return Exports;
}
