#include "platform/loader/BuiltinTables.h"

#include "platform/iphelper/Exports.h"

#if __has_include("platform/httpapi/Exports.h")
#include "platform/httpapi/Exports.h"
#endif

std::span<const Zn::BuiltinTable> Zn::BuiltinTables()
{
#if __has_include("platform/httpapi/Exports.h")
    static constexpr BuiltinTable cTables[] = {
        {"Httpapi.dll", HttpapiExports},
        {"Iphlpapi.dll", IphlpapiExports},
        {"Ntdll.dll", NtdllExports},
        {"ws2_32.dll", Ws2_32Exports},
    };
    return cTables;
#else
    return {};
#endif
}
