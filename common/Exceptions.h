#pragma once

#include <cstdarg>
#include <exception>
#include <string>
#include <typeinfo>
#include <utility>

#if defined(__GNUC__)
#define ZN_PRINTF_LIKE(AFormatIndex, AFirstArgument)                                                         \
    __attribute__((format(printf, AFormatIndex, AFirstArgument)))
#else
#define ZN_PRINTF_LIKE(AFormatIndex, AFirstArgument)
#endif

/// Stands in every exception class; ClassName is what error pages and logs print.
#define ZN_EXCEPTION_NAME(AName)                                                                             \
    std::string ClassName() const override                                                                   \
    {                                                                                                        \
        return AName;                                                                                        \
    }

/// Root of every exception that the library raises: a text for the user, in UTF-8.
class Exception : public std::exception
{
public:
    explicit Exception(std::string AMessage) : FMessage(std::move(AMessage)) {}

    const std::string& Message() const { return FMessage; }
    const char* what() const noexcept override { return FMessage.c_str(); }
    virtual std::string ClassName() const { return "Exception"; }

private:
    std::string FMessage;
};

/// Ends an operation quietly: whoever catches it at the top shows nothing.
class EAbort : public Exception
{
public:
    explicit EAbort(std::string AMessage = "Operation aborted") : Exception(std::move(AMessage)) {}
    ZN_EXCEPTION_NAME("EAbort")
};

class EInvalidArgument : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EInvalidArgument")
};

class EConvertError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EConvertError")
};

/// An index outside of a list, or what a list does not take.
class EListError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EListError")
};

class EStringListError : public EListError
{
public:
    using EListError::EListError;
    ZN_EXCEPTION_NAME("EStringListError")
};

class EPropReadOnly : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EPropReadOnly")
};

/// A component's name that is no identifier, or that its owner has already.
class EComponentError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EComponentError")
};

/// A caller broke the rules of an operation (wrong thread, wrong state). See ZnAssert.
class EAssertionFailed : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EAssertionFailed")
};

class EStreamError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EStreamError")
};

class EReadError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EReadError")
};

class EWriteError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EWriteError")
};

class EFCreateError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EFCreateError")
};

class EFOpenError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EFOpenError")
};

class EFileNotFoundException : public EFOpenError
{
public:
    using EFOpenError::EFOpenError;
    ZN_EXCEPTION_NAME("EFileNotFoundException")
};

class EThread : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EThread")
};

class EOutOfMemory : public Exception
{
public:
    explicit EOutOfMemory(std::string AMessage = "Out of memory") : Exception(std::move(AMessage)) {}
    ZN_EXCEPTION_NAME("EOutOfMemory")
};

/// An exception with a number: of the platform (platform/errors) or of a protocol (an HTTP status).
class EZnException : public Exception
{
public:
    EZnException(std::string AMessage, int AErrorCode)
        : Exception(std::move(AMessage)), FErrorCode(AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnException")

    /// The text from a printf format.
    static EZnException CreateFmt(int AErrorCode, const char* AFormat, ...) ZN_PRINTF_LIKE(2, 3);

    int GetErrorCode() const { return FErrorCode; }

private:
    int FErrorCode;
};

/// printf into a string. Arguments are checked by the compiler.
std::string ZnFormat(const char* AFormat, ...) ZN_PRINTF_LIKE(1, 2);

namespace Zn
{
[[noreturn]] void RaiseAssertionFailed(const char* AText);

/// ZnFormat for the operations with a format of their own.
std::string FormatList(const char* AFormat, std::va_list AArguments) ZN_PRINTF_LIKE(1, 0);

/// A type's name in source form.
std::string TypeName(const std::type_info& AType);
} // namespace Zn

/// Guards what callers must keep to; always compiled in. Raises EAssertionFailed with AText.
inline void ZnAssert(bool ACondition, const char* AText = "Assertion failure")
{
    if (!ACondition) [[unlikely]]
        Zn::RaiseAssertionFailed(AText);
}

/// ClassName for the library's exceptions, the type's name in source form for any other.
std::string ExceptionClassName(const std::exception& AException);
