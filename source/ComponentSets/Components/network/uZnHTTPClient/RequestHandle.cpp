#include "uZnHTTPClient/RequestHandle.h"

#include "common/Exceptions.h"

void* TZnHTTPRequestHandle::GetHandle(bool ARaiseIfClosed)
{
    void* const Handle = FHandle.load();
    if (Handle == nullptr && ARaiseIfClosed)
        throw EAbort("The handle has already been closed!");
    return Handle;
}
