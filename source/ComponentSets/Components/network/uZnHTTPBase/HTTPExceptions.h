#pragma once

#include <string>

#include "common/Exceptions.h"
#include "platform/Api.h"
#include "uZnHTTPBase/StatusTexts.h"
#include "uZnHTTPBase/Vocabulary.h"

/// A wrong argument, told before anything was sent.
class ZN_API EZnHTTPInvalidArgument : public Exception
{
public:
    using Exception::Exception;
    ZN_EXCEPTION_NAME("EZnHTTPInvalidArgument")
};

/// A failure with an HTTP status: raised by a handler, it becomes the response's status line and
/// page. The error code is the status.
class ZN_API EZnHTTPException : public EZnException
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
class ZN_API EZnHTTPForbidden : public EZnHTTPException
{
public:
    /// AMsg goes into the page, AErrorCode is the status.
    explicit EZnHTTPForbidden(std::string AMsg = HttpStatusMsg(403), int AErrorCode = 403)
        : EZnHTTPException(std::move(AMsg), AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPForbidden")
};

/// For handlers: 404.
class ZN_API EZnHTTPNotFound : public EZnHTTPException
{
public:
    /// AMsg goes into the page, AErrorCode is the status.
    explicit EZnHTTPNotFound(std::string AMsg = HttpStatusMsg(404), int AErrorCode = 404)
        : EZnHTTPException(std::move(AMsg), AErrorCode)
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPNotFound")
};

/// A call of the platform that failed, with the name of the function and the platform's number.
class ZN_API EZnHTTPApiException : public EZnException
{
public:
    /// The function, the text and the platform's number.
    EZnHTTPApiException(std::string AApiFuncName, std::string AMsg, int AErrorCode)
        : EZnException(std::move(AMsg), AErrorCode), FApiFuncName(std::move(AApiFuncName))
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPApiException")

    /// The text from a printf format.
    static EZnHTTPApiException CreateFmt(std::string AApiFuncName, int AErrorCode, const char* AFormat, ...)
        ZN_PRINTF_LIKE(3, 4);

    /// The function of the platform that failed.
    const std::string& GetApiFuncName() const { return FApiFuncName; }

private:
    std::string FApiFuncName;
};
