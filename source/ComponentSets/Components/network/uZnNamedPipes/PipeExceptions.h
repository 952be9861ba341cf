#pragma once

#include <cstdint>
#include <string>

#include "common/Exceptions.h"

/// A failure of a pipe, with the number of the platform (docs/errors.md).
class EZnNamedPipe : public Exception
{
public:
    EZnNamedPipe(std::uint32_t AErrorCode, std::string AMessage)
        : Exception(std::move(AMessage)), FErrorCode(AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnNamedPipe")

    std::uint32_t GetErrorCode() const { return FErrorCode; }

private:
    std::uint32_t FErrorCode;
};

class EZnNamedPipeConnectError : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeConnectError")
};

class EZnNamedPipeWriteError : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeWriteError")
};

class EZnNamedPipeReadError : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeReadError")
};

class EZnNamedPipeReadTimeOut : public EZnNamedPipe
{
public:
    using EZnNamedPipe::EZnNamedPipe;
    ZN_EXCEPTION_NAME("EZnNamedPipeReadTimeOut")
};
