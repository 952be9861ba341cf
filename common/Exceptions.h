#pragma once

#include <cstdarg>
#include <exception>
#include <string>
#include <typeinfo>
#include <utility>

#include "platform/Api.h"

#if defined(__GNUC__)
/// Has the compiler check arguments against a printf format; both positions count from 1, with `this` as the
/// first of a method.
#define ZN_PRINTF_LIKE(AFormatIndex, AFirstArgument)                                                         \
    __attribute__((format(printf, AFormatIndex, AFirstArgument)))
#else
/// Nothing to check with.
#define ZN_PRINTF_LIKE(AFormatIndex, AFirstArgument)
#endif

/// Stands in every exception class; ClassName is what error pages and logs print.
#define ZN_EXCEPTION_NAME(AName)                                                                             \
    std::string ClassName() const override                                                                   \
    {                                                                                                        \
        return AName;                                                                                        \
    }

/// Root of every exception that the library raises: a text for the user, in UTF-8.
class ZN_API Exception : public std::exception
{
public:
    /// AMessage is shown to users as it is: UTF-8, no secrets.
    explicit Exception(std::string AMessage) : FMessage(std::move(AMessage)) {}

    /// The text for the user.
    const std::string& Message() const { return FMessage; }
    /// The same, for code that knows std::exception alone.
    const char* what() const noexcept override { return FMessage.c_str(); }
    /// The name of the class, as error pages and logs print it.
    virtual std::string ClassName() const { return "Exception"; }

private:
    std::string FMessage;
};

/// Ends an operation quietly: whoever catches it at the top shows nothing.
class ZN_API EAbort : public Exception
{
public:
    /// The text is for logs; nothing shows it to the user.
    explicit EAbort(std::string AMessage = "Operation aborted") : Exception(std::move(AMessage)) {}
    ZN_EXCEPTION_NAME("EAbort")
};

/// An argument that can't be, told before anything is done.
class ZN_API EInvalidArgument : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EInvalidArgument")
};

/// A text that is no number, date or code, or an object that can't be assigned.
class ZN_API EConvertError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EConvertError")
};

/// An index outside of a list, or what a list does not take.
class ZN_API EListError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EListError")
};

/// The same of a TStringList.
class ZN_API EStringListError : public EListError
{
public:
    using EListError::EListError;
    ZN_EXCEPTION_NAME("EStringListError")
};

/// A property that only shows something was set.
class ZN_API EPropReadOnly : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EPropReadOnly")
};

/// A component's name that is no identifier, or that its owner has already.
class ZN_API EComponentError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EComponentError")
};

/// A caller broke the rules of an operation (wrong thread, wrong state). See ZnAssert.
class ZN_API EAssertionFailed : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EAssertionFailed")
};

/// A stream can't do what is asked; root of the failures of streams and files.
class ZN_API EStreamError : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EStreamError")
};

/// A stream ended before all was read that had to be.
class ZN_API EReadError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EReadError")
};

/// A stream didn't take all that was written.
class ZN_API EWriteError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EWriteError")
};

/// A file can't be made; the text has its name and the reason.
class ZN_API EFCreateError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EFCreateError")
};

/// A file can't be opened; the text has its name and the reason.
class ZN_API EFOpenError : public EStreamError
{
public:
    using EStreamError::EStreamError;
    ZN_EXCEPTION_NAME("EFOpenError")
};

/// A file that isn't there.
class ZN_API EFileNotFoundException : public EFOpenError
{
public:
    using EFOpenError::EFOpenError;
    ZN_EXCEPTION_NAME("EFileNotFoundException")
};

/// A thread can't be started, or can't wait.
class ZN_API EThread : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EThread")
};

/// No memory for what was asked; the object is as it was before.
class ZN_API EOutOfMemory : public Exception
{
public:
    /// The text tells what the memory was for.
    explicit EOutOfMemory(std::string AMessage = "Out of memory") : Exception(std::move(AMessage)) {}
    ZN_EXCEPTION_NAME("EOutOfMemory")
};

/// An exception with a number: of the platform (platform/errors) or of a protocol (an HTTP status).
class ZN_API EZnException : public Exception
{
public:
    /// The text, and the number that GetErrorCode tells.
    EZnException(std::string AMessage, int AErrorCode)
        : Exception(std::move(AMessage)), FErrorCode(AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnException")

    /// The text from a printf format.
    static EZnException CreateFmt(int AErrorCode, const char* AFormat, ...) ZN_PRINTF_LIKE(2, 3);

    /// The number; which contract it belongs to depends on the class (docs/errors.md).
    int GetErrorCode() const { return FErrorCode; }

private:
    int FErrorCode;
};

/// printf into a string. Arguments are checked by the compiler.
ZN_API std::string ZnFormat(const char* AFormat, ...) ZN_PRINTF_LIKE(1, 2);

namespace Zn
{
[[noreturn]] ZN_API void RaiseAssertionFailed(const char* AText);

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
ZN_API std::string ExceptionClassName(const std::exception& AException);
