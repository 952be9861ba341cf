#pragma once

#include <string>

#include "platform/Api.h"
#include "uZnHTTPBase/HTTPExceptions.h"
#include "uZnHTTPBase/Vocabulary.h"

/// For handlers: the caller has to log on. AErrorCode is the status of the answer, as a rule 401;
/// AAuthenticationType chooses the challenge: Basic for authBasic, Digest for anything else. With form
/// logon configured a page becomes a redirect to the logon page instead.
class ZN_API EZnHTTPAuthenticationFailure : public EZnHTTPException
{
public:
    /// AMsg goes into the page, AErrorCode is the status, as a rule 401.
    EZnHTTPAuthenticationFailure(TZnHTTPAuthentication AAuthenticationType, std::string AMsg, int AErrorCode)
        : EZnHTTPException(std::move(AMsg), AErrorCode), FAuthenticationType(AAuthenticationType)
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPAuthenticationFailure")

    /// The text from a printf format.
    static EZnHTTPAuthenticationFailure CreateFmt(TZnHTTPAuthentication AAuthenticationType, int AErrorCode,
                                                  const char* AFormat, ...) ZN_PRINTF_LIKE(3, 4);

    /// The scheme of the challenge.
    TZnHTTPAuthentication GetAuthenticationType() const { return FAuthenticationType; }

private:
    TZnHTTPAuthentication FAuthenticationType;
};
