#include "uZnWinHTTPH/Exceptions.h"

#include <utility>

#include "platform/errors/Errors.h"

EZnWinHTTPHException::EZnWinHTTPHException(const std::string& ASender, std::uint32_t AErrorCode,
                                           std::string AServerError)
    : EZnHTTPClientApiException(ASender, AErrorCode, WinHttpErrorMsg(AErrorCode), std::move(AServerError))
{
}

void WinHttpCheckError(const std::string& AFuncName, std::uint32_t AErrorCode,
                       const std::string& AServerError)
{
    switch (AErrorCode) {
    case NO_ERROR:
        return;
    case ERROR_WINHTTP_TIMEOUT:
        throw EZnWinHTTPTimeOut(AFuncName, AErrorCode, WinHttpErrorMsg(AErrorCode), AServerError);
    case ERROR_WINHTTP_OPERATION_CANCELLED:
        throw EAbort(WinHttpErrorMsg(AErrorCode));
    case ERROR_WINHTTP_CANNOT_CONNECT:
    case ERROR_WINHTTP_CONNECTION_ERROR:
    case ERROR_WINHTTP_CONNECTION_RESET:
        throw EZnWinHTTPConnect(AFuncName, AErrorCode, WinHttpErrorMsg(AErrorCode), AServerError);
    default:
        throw EZnWinHTTPHException(AFuncName, AErrorCode, AServerError);
    }
}

void WinHttpCheckError(const std::string& AFuncName, const std::string& AServerError)
{
    WinHttpCheckError(AFuncName, GetLastError(), AServerError);
}
