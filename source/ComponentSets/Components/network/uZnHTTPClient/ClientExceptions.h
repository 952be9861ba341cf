#pragma once

#include <cstdint>
#include <string>

#include "uZnHTTPBase/HTTPExceptions.h"

/// A failed call of a transport. The text has up to three lines, CR LF between them: the call with
/// its number, what the number means, and what the server said of it.
class EZnHTTPClientApiException : public EZnHTTPApiException
{
public:
    /// AErrorMsg "Error 12999" for the code 12999 says nothing new and is left out.
    EZnHTTPClientApiException(const std::string& ASender, std::uint32_t AErrorCode,
                              const std::string& AErrorMsg, std::string AServerError);
    ZN_EXCEPTION_NAME("EZnHTTPClientApiException")

    const std::string& GetServerError() const { return FServerError; }

private:
    std::string FServerError;
};

/// The server or the network was too slow for one of the TimeOuts.
class EZnHTTPTimeOut : public EZnHTTPClientApiException
{
public:
    using EZnHTTPClientApiException::EZnHTTPClientApiException;
    ZN_EXCEPTION_NAME("EZnHTTPTimeOut")
};

/// No connection, or it broke.
class EZnHTTPConnect : public EZnHTTPClientApiException
{
public:
    using EZnHTTPClientApiException::EZnHTTPClientApiException;
    ZN_EXCEPTION_NAME("EZnHTTPConnect")
};
