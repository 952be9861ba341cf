#include "platform/loader/BuiltinTables.h"

#include "platform/firewall/Exports.h"
#include "platform/httpapi/Exports.h"
#include "platform/icmp/Exports.h"
#include "platform/iphelper/Exports.h"
#include "platform/pipes/Exports.h"
#include "platform/winhttp/Exports.h"
#include "platform/wininet/Exports.h"

std::span<const Zn::BuiltinTable> Zn::BuiltinTables()
{
    static constexpr BuiltinTable cTables[] = {
        {"Httpapi.dll", HttpapiExports},   {"Icmp.dll", IcmpExports},
        {"Iphlpapi.dll", IphlpapiExports}, {"Kernel32.dll", KernelPipeExports},
        {"Mpr.dll", NetworkLogonExports},  {"Ntdll.dll", NtdllExports},
        {"Ole32.dll", Ole32Exports},       {"Winhttp.dll", WinhttpExports},
        {"Wininet.dll", WininetExports},   {"ws2_32.dll", Ws2_32Exports},
    };
    return cTables;
}
