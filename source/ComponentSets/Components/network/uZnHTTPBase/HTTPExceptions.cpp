#include "uZnHTTPBase/HTTPExceptions.h"

TZnHTTPStatus EZnHTTPException::GetHTTPStatus() const
{
    const int Code = GetErrorCode();
    return {Code < 1 ? std::uint16_t{500} : static_cast<std::uint16_t>(Code & 0xFFFF), Message()};
}
