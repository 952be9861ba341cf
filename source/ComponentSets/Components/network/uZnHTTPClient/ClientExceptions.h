#pragma once

#include <cstdint>
#include <string>

#include "platform/Api.h"
#include "uZnHTTPBase/HTTPExceptions.h"

/// A failed call of a transport. The text has up to three lines, CR LF between them: the call with
/// its number, what the number means, and what the server said of it.
class ZN_API EZnHTTPClientApiException : public EZnHTTPApiException
{
public:
    /// AErrorMsg "Error 12999" for the code 12999 says nothing new and is left out.
    EZnHTTPClientApiException(const std::string& ASender, std::uint32_t AErrorCode,
                              const std::string& AErrorMsg, std::string AServerError);
    ZN_EXCEPTION_NAME("EZnHTTPClientApiException")

    /// What the server said of it; empty: nothing.
    const std::string& GetServerError() const { return FServerError; }

private:
    std::string FServerError;
};

/// The server or the network was too slow for one of the TimeOuts.
class ZN_API EZnHTTPTimeOut : public EZnHTTPClientApiException
{
public:
    using EZnHTTPClientApiException::EZnHTTPClientApiException;
    ZN_EXCEPTION_NAME("EZnHTTPTimeOut")
};

/// No connection, or it broke.
class ZN_API EZnHTTPConnect : public EZnHTTPClientApiException
{
public:
    using EZnHTTPClientApiException::EZnHTTPClientApiException;
    ZN_EXCEPTION_NAME("EZnHTTPConnect")
};
