#include "platform/winhttp/Exports.h"

#include "platform/winhttp/Winhttp.h"

namespace
{

template <class T>
void* Address(T* AFunction)
{
    return reinterpret_cast<void*>(AFunction);
}

} // namespace

std::span<const TZnExport> WinhttpExports()
{
    static const TZnExport Table[] = {
        {"WinHttpOpen", Address(WinHttpOpen)},
        {"WinHttpCloseHandle", Address(WinHttpCloseHandle)},
        {"WinHttpConnect", Address(WinHttpConnect)},
        {"WinHttpOpenRequest", Address(WinHttpOpenRequest)},
        {"WinHttpAddRequestHeaders", Address(WinHttpAddRequestHeaders)},
        {"WinHttpSetCredentials", Address(WinHttpSetCredentials)},
        {"WinHttpQueryAuthSchemes", Address(WinHttpQueryAuthSchemes)},
        {"WinHttpSendRequest", Address(WinHttpSendRequest)},
        {"WinHttpReceiveResponse", Address(WinHttpReceiveResponse)},
        {"WinHttpQueryHeaders", Address(WinHttpQueryHeaders)},
        {"WinHttpQueryDataAvailable", Address(WinHttpQueryDataAvailable)},
        {"WinHttpReadData", Address(WinHttpReadData)},
        {"WinHttpQueryOption", Address(WinHttpQueryOption)},
        {"WinHttpSetOption", Address(WinHttpSetOption)},
    };
    return Table;
}
