#pragma once

#include "platform/Api.h"
#include "uZnHTTPClient/ClientExceptions.h"

/// A rule of the transport was broken: cookies in the wrong mode.
class ZN_API EZnWinINetException : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnWinINetException")
};

/// A wrapper refused its arguments.
class ZN_API EZnWinINetInvalidArgument : public EZnHTTPInvalidArgument
{
public:
    using EZnHTTPInvalidArgument::EZnHTTPInvalidArgument;
    ZN_EXCEPTION_NAME("EZnWinINetInvalidArgument")
};

/// A WinINet call failed.
class ZN_API EZnWinINetHException : public EZnHTTPClientApiException
{
public:
    /// The text is that of WinINetErrorMsg.
    EZnWinINetHException(const std::string& ASender, std::uint32_t AErrorCode, std::string AServerError);
    ZN_EXCEPTION_NAME("EZnWinINetHException")
};

/// 12002.
class ZN_API EZnWinINetInternetTimeOut : public EZnHTTPTimeOut
{
public:
    using EZnHTTPTimeOut::EZnHTTPTimeOut;
    ZN_EXCEPTION_NAME("EZnWinINetInternetTimeOut")
};

/// 12029, 12030, 12031.
class ZN_API EZnWinINetInternetConnect : public EZnHTTPConnect
{
public:
    using EZnHTTPConnect::EZnHTTPConnect;
    ZN_EXCEPTION_NAME("EZnWinINetInternetConnect")
};

/// The meaning of a number: this library's, else that of WinHttpErrorMsg, which ends in "Error %d".
ZN_API std::string WinINetErrorMsg(std::uint32_t AErrorCode);

/// Raises what fits the number: nothing for 0, EZnWinINetInternetTimeOut, EZnWinINetInternetConnect, EAbort
/// for 12017, EZnWinINetHException for all others.
ZN_API void HttpCheckError(const std::string& AFuncName, std::uint32_t AErrorCode,
                           const std::string& AServerError);

/// The same with the thread's last error.
ZN_API void HttpCheckError(const std::string& AFuncName, const std::string& AServerError);
