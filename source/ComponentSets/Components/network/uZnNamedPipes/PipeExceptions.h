#pragma once

#include <cstdint>
#include <string>

#include "common/Exceptions.h"
#include "platform/Api.h"

/// A failure of a pipe, with the number of the platform (docs/errors.md).
class ZN_API EZnNamedPipe : public Exception
{
public:
    /// The number and the text.
    EZnNamedPipe(std::uint32_t AErrorCode, std::string AMessage)
        : Exception(std::move(AMessage)), FErrorCode(AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnNamedPipe")

    /// The platform's number (docs/errors.md).
    std::uint32_t GetErrorCode() const { return FErrorCode; }

private:
    std::uint32_t FErrorCode;
};

/// A pipe can't be opened or served.
class ZN_API EZnNamedPipeConnectError : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeConnectError")
};

/// A message couldn't be sent; after most of them the connection is ended.
class ZN_API EZnNamedPipeWriteError : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeWriteError")
};

/// The connection can't read any more; told by OnNamedPipeException.
class ZN_API EZnNamedPipeReadError : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeReadError")
};

/// No answer to a command in time; the connection stays.
class ZN_API EZnNamedPipeReadTimeOut : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeReadTimeOut")
};
