#include "uZnHTTPBase/AuthenticationFailure.h"

EZnHTTPAuthenticationFailure
EZnHTTPAuthenticationFailure::CreateFmt(TZnHTTPAuthentication AAuthenticationType, int AErrorCode,
                                        const char* AFormat, ...)
{
    std::va_list Arguments;
    va_start(Arguments, AFormat);
    std::string Message = Zn::FormatList(AFormat, Arguments);
    va_end(Arguments);
    return {AAuthenticationType, std::move(Message), AErrorCode};
}
