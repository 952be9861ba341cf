#include "uZnWinHTTP/Handles.h"

#include "uZnWinHTTPH.h"

void TZnWinHTTPConnection::CloseConnection(void* AConnection)
{
    WinHttpCloseHandle(AConnection, false);
}

void TZnWinHTTPRequestHandle::CloseHandle()
{
    if (void* const Handle = Release())
        WinHttpCloseHandle(Handle, false);
}
