#include "platform/errors/Errors.h"

namespace
{
thread_local std::uint32_t tLastError = NO_ERROR;
}

std::uint32_t GetLastError()
{
    return tLastError;
}

void SetLastError(std::uint32_t AError)
{
    tLastError = AError;
}
