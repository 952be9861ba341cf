#include "platform/loader/BuiltinTables.h"

#include "platform/httpapi/Exports.h"
#include "platform/iphelper/Exports.h"

std::span<const Zn::BuiltinTable> Zn::BuiltinTables()
{
    static constexpr BuiltinTable cTables[] = {
        {"Httpapi.dll", HttpapiExports},
        {"Iphlpapi.dll", IphlpapiExports},
        {"Ntdll.dll", NtdllExports},
        {"ws2_32.dll", Ws2_32Exports},
    };
    return cTables;
}
