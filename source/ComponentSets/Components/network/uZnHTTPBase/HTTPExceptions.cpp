#include "uZnHTTPBase/HTTPExceptions.h"

EZnHTTPException EZnHTTPException::CreateFmt(int AErrorCode, const char* AFormat, ...)
{
    std::va_list Arguments;
    va_start(Arguments, AFormat);
    std::string Message = Zn::FormatList(AFormat, Arguments);
    va_end(Arguments);
    return EZnHTTPException(std::move(Message), AErrorCode);
}

TZnHTTPStatus EZnHTTPException::GetHTTPStatus() const
{
    const int Code = GetErrorCode();
    return {Code < 1 ? std::uint16_t{500} : static_cast<std::uint16_t>(Code & 0xFFFF), Message()};
}

EZnHTTPApiException EZnHTTPApiException::CreateFmt(std::string AApiFuncName, int AErrorCode,
                                                   const char* AFormat, ...)
{
    std::va_list Arguments;
    va_start(Arguments, AFormat);
    std::string Message = Zn::FormatList(AFormat, Arguments);
    va_end(Arguments);
    return EZnHTTPApiException(std::move(AApiFuncName), std::move(Message), AErrorCode);
}
