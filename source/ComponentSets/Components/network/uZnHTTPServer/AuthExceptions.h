#pragma once

#include <string>

#include "uZnHTTPBase.h"

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
