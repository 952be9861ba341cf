#include "uZnWinINetH/Exceptions.h"

#include <utility>

#include "platform/errors/Errors.h"

EZnWinINetHException::EZnWinINetHException(const std::string& ASender, std::uint32_t AErrorCode,
                                           std::string AServerError)
    : EZnHTTPClientApiException(ASender, AErrorCode, WinINetErrorMsg(AErrorCode), std::move(AServerError))
{
}

void HttpCheckError(const std::string& AFuncName, std::uint32_t AErrorCode, const std::string& AServerError)
{
    switch (AErrorCode) {
    case NO_ERROR:
        return;
    case ERROR_WINHTTP_TIMEOUT:
        throw EZnWinINetInternetTimeOut(AFuncName, AErrorCode, WinINetErrorMsg(AErrorCode), AServerError);
    case ERROR_WINHTTP_OPERATION_CANCELLED:
        throw EAbort(WinINetErrorMsg(AErrorCode));
    case ERROR_WINHTTP_CANNOT_CONNECT:
    case ERROR_WINHTTP_CONNECTION_ERROR:
    case ERROR_WINHTTP_CONNECTION_RESET:
        throw EZnWinINetInternetConnect(AFuncName, AErrorCode, WinINetErrorMsg(AErrorCode), AServerError);
    default:
        throw EZnWinINetHException(AFuncName, AErrorCode, AServerError);
    }
}

void HttpCheckError(const std::string& AFuncName, const std::string& AServerError)
{
    HttpCheckError(AFuncName, GetLastError(), AServerError);
}
