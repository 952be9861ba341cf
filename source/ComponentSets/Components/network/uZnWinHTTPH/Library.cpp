#include "uZnWinHTTPH/Library.h"

Zn::WinHttpFunctions Zn::WinHttp;

void ZnLoadWinHTTP()
{
    Zn::WinHttp.Library.Load();
}

void ZnUnloadWinHTTP()
{
    Zn::WinHttp.Library.Unload();
}
