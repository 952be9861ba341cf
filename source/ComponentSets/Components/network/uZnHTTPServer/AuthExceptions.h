#pragma once

#include <string>

#include "uZnHTTPBase.h"

/// For handlers: the caller has to log on. AErrorCode is the status of the answer, as a rule 401;
/// AAuthenticationType chooses the challenge: Basic for authBasic, Digest for anything else. With form
/// logon configured a page becomes a redirect to the logon page instead.
class EZnHTTPAuthenticationFailure : public EZnHTTPException
{
public:
    EZnHTTPAuthenticationFailure(TZnHTTPAuthentication AAuthenticationType, std::string AMsg, int AErrorCode)
        : EZnHTTPException(std::move(AMsg), AErrorCode), FAuthenticationType(AAuthenticationType)
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPAuthenticationFailure")

    /// The text from a printf format.
    static EZnHTTPAuthenticationFailure CreateFmt(TZnHTTPAuthentication AAuthenticationType, int AErrorCode,
                                                  const char* AFormat, ...) ZN_PRINTF_LIKE(3, 4);

    TZnHTTPAuthentication GetAuthenticationType() const { return FAuthenticationType; }

private:
    TZnHTTPAuthentication FAuthenticationType;
};

/// For handlers: the caller has logged off. Status and text are answered, without a challenge.
class EZnHTTPLogoff : public EZnHTTPAuthenticationFailure
{
public:
    using EZnHTTPAuthenticationFailure::EZnHTTPAuthenticationFailure;
    ZN_EXCEPTION_NAME("EZnHTTPLogoff")
};

/// The token endpoint of an OpenID provider answered with something else than a token: 401.
class EZnHTTPServerAuthGetTokenFailure : public EZnHTTPAuthenticationFailure
{
public:
    EZnHTTPServerAuthGetTokenFailure(std::string AContentType, std::string AMsg)
        : EZnHTTPAuthenticationFailure(authOAuth2, std::move(AMsg), 401),
          FContentType(std::move(AContentType))
    {
    }
    ZN_EXCEPTION_NAME("EZnHTTPServerAuthGetTokenFailure")

    /// Of the provider's answer, which is the message.
    const std::string& GetContentType() const { return FContentType; }

private:
    std::string FContentType;
};
