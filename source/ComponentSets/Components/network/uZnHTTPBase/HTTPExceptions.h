#pragma once

#include <string>

#include "common/Exceptions.h"
#include "uZnHTTPBase/StatusTexts.h"
#include "uZnHTTPBase/Vocabulary.h"

/// A wrong argument, told before anything was sent.
class EZnHTTPInvalidArgument : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnHTTPInvalidArgument")
};

/// A failure with an HTTP status: raised by a handler, it becomes the response's status line and
/// page. The error code is the status.
class EZnHTTPException : public EZnException
{
public:
    using EZnException::EZnException;
    ZN_EXCEPTION_NAME("EZnHTTPException")

    /// The text from a printf format.
    static EZnHTTPException CreateFmt(int AErrorCode, const char* AFormat, ...) ZN_PRINTF_LIKE(2, 3);

    /// The code's low 16 bits, or 500 for a code below 1; the text is the message, whatever the
    /// table of reason phrases says.
    TZnHTTPStatus GetHTTPStatus() const;
};

/// For handlers: 403.
class EZnHTTPForbidden : public EZnHTTPException
{
public:
    explicit EZnHTTPForbidden(std::string AMsg = HttpStatusMsg(403), int AErrorCode = 403)
        : EZnHTTPException(std::move(AMsg), AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPForbidden")
};

/// For handlers: 404.
class EZnHTTPNotFound : public EZnHTTPException
{
public:
    explicit EZnHTTPNotFound(std::string AMsg = HttpStatusMsg(404), int AErrorCode = 404)
        : EZnHTTPException(std::move(AMsg), AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPNotFound")
};

/// A call of the platform that failed, with the name of the function and the platform's number.
class EZnHTTPApiException : public EZnException
{
public:
    EZnHTTPApiException(std::string AApiFuncName, std::string AMsg, int AErrorCode)
        : EZnException(std::move(AMsg), AErrorCode), FApiFuncName(std::move(AApiFuncName))
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPApiException")

    /// The text from a printf format.
    static EZnHTTPApiException CreateFmt(std::string AApiFuncName, int AErrorCode, const char* AFormat, ...)
        ZN_PRINTF_LIKE(3, 4);

    const std::string& GetApiFuncName() const { return FApiFuncName; }

private:
    std::string FApiFuncName;
};
