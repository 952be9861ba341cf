#pragma once

#include "platform/Api.h"
#include "uZnHTTPClient/ClientExceptions.h"

/// A rule of the transport was broken: cookies in the wrong mode, NTLM over HTTP/1.0.
class ZN_API EZnWinHTTPException : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnWinHTTPException")
};

/// A wrapper refused its arguments.
class ZN_API EZnWinHTTPInvalidArgument : public EZnHTTPInvalidArgument
{
public:
    using EZnHTTPInvalidArgument::EZnHTTPInvalidArgument;
    ZN_EXCEPTION_NAME("EZnWinHTTPInvalidArgument")
};

/// A WinHTTP call failed.
class ZN_API EZnWinHTTPHException : public EZnHTTPClientApiException
{
public:
    /// The text is that of WinHttpErrorMsg.
    EZnWinHTTPHException(const std::string& ASender, std::uint32_t AErrorCode, std::string AServerError);
    ZN_EXCEPTION_NAME("EZnWinHTTPHException")
};

/// 12002.
class ZN_API EZnWinHTTPTimeOut : public EZnHTTPTimeOut
{
public:
    using EZnHTTPTimeOut::EZnHTTPTimeOut;
    ZN_EXCEPTION_NAME("EZnWinHTTPTimeOut")
};

/// 12029, 12030, 12031.
class ZN_API EZnWinHTTPConnect : public EZnHTTPConnect
{
public:
    using EZnHTTPConnect::EZnHTTPConnect;
    ZN_EXCEPTION_NAME("EZnWinHTTPConnect")
};

/// The meaning of a number; "Error %d" with the number for one that isn't known.
ZN_API std::string WinHttpErrorMsg(std::uint32_t AErrorCode);

/// Raises what fits the number: nothing for 0, EZnWinHTTPTimeOut, EZnWinHTTPConnect, EAbort for 12017,
/// EZnWinHTTPHException for all others.
ZN_API void WinHttpCheckError(const std::string& AFuncName, std::uint32_t AErrorCode,
                              const std::string& AServerError);

/// The same with the thread's last error.
ZN_API void WinHttpCheckError(const std::string& AFuncName, const std::string& AServerError);
