#pragma once

#include "platform/Api.h"
#include "platform/wininet/Wininet.h"
#include "uZnHTTPTransport/PlatformLibrary.h"

/// Forgets all functions and frees "Wininet.dll", which the first call loads. Nobody may be using the unit
/// meanwhile.
ZN_API void ZnUnloadWinINet();

namespace Zn
{

/// All that the unit calls, and uZnWinINet.
struct WinINetFunctions
{
    PlatformLibrary Library{"Wininet.dll", "WinINet", "Wininet"}; // first: the others hold it

/// One function of the library: a pointer of the platform's type, filled by its name.
#define ZN_SLOT(AName, AFunction)                                                                            \
    PlatformFunction<decltype(&::AFunction)> AName                                                           \
    {                                                                                                        \
        Library, #AFunction                                                                                  \
    }
    ZN_SLOT(Open, InternetOpenW);
    ZN_SLOT(Connect, InternetConnectW);
    ZN_SLOT(SetOption, InternetSetOptionW);
    ZN_SLOT(QueryOption, InternetQueryOptionW);
    ZN_SLOT(CloseHandle, InternetCloseHandle);
    ZN_SLOT(OpenRequest, HttpOpenRequestW);
    ZN_SLOT(AddRequestHeaders, HttpAddRequestHeadersW);
    ZN_SLOT(SendRequest, HttpSendRequestW);
    ZN_SLOT(QueryInfo, HttpQueryInfoW);
    ZN_SLOT(QueryDataAvailable, InternetQueryDataAvailable);
    ZN_SLOT(ReadFile, InternetReadFile);
    ZN_SLOT(ErrorDlg, InternetErrorDlg);
    ZN_SLOT(SetErrorDialog, ZnInternetSetErrorDialog);
#undef ZN_SLOT

    ~WinINetFunctions()
    {
        Library.Unload();
    }
};
extern WinINetFunctions WinINet;

} // namespace Zn
