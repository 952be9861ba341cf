#pragma once

#include "platform/Api.h"
#include "platform/winhttp/Winhttp.h"
#include "uZnHTTPTransport/PlatformLibrary.h"

/// Loads "Winhttp.dll" unless it is loaded. Raises Exception where there is none. Any thread.
ZN_API void ZnLoadWinHTTP();

/// Forgets all functions and frees the library. Nobody may be using the unit meanwhile.
ZN_API void ZnUnloadWinHTTP();

namespace Zn
{

/// All that the unit calls.
struct WinHttpFunctions
{
    PlatformLibrary Library{"Winhttp.dll", "WinHTTP", "Winhttp"}; // first: the others hold it

/// One function of the library: a pointer of the platform's type, filled by its name.
#define ZN_SLOT(AName)                                                                                       \
    PlatformFunction<decltype(&::WinHttp##AName)> AName                                                      \
    {                                                                                                        \
        Library, "WinHttp" #AName                                                                            \
    }
    ZN_SLOT(Open);
    ZN_SLOT(CloseHandle);
    ZN_SLOT(Connect);
    ZN_SLOT(OpenRequest);
    ZN_SLOT(AddRequestHeaders);
    ZN_SLOT(SetCredentials);
    ZN_SLOT(QueryAuthSchemes);
    ZN_SLOT(SendRequest);
    ZN_SLOT(ReceiveResponse);
    ZN_SLOT(QueryHeaders);
    ZN_SLOT(QueryDataAvailable);
    ZN_SLOT(ReadData);
    ZN_SLOT(QueryOption);
    ZN_SLOT(SetOption);
#undef ZN_SLOT

    ~WinHttpFunctions()
    {
        Library.Unload();
    }
};
extern WinHttpFunctions WinHttp;

} // namespace Zn
