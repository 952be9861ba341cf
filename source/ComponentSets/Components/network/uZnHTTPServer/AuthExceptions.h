#pragma once

#include <string>

#include "platform/Api.h"
#include "uZnHTTPBase.h"

/// For handlers: the caller has logged off. Status and text are answered, without a challenge.
class ZN_API EZnHTTPLogoff : public EZnHTTPAuthenticationFailure
{
public:
    using EZnHTTPAuthenticationFailure::EZnHTTPAuthenticationFailure;
    ZN_EXCEPTION_NAME("EZnHTTPLogoff")
};

/// The token endpoint of an OpenID provider answered with something else than a token: 401.
class ZN_API EZnHTTPServerAuthGetTokenFailure : public EZnHTTPAuthenticationFailure
{
public:
    /// What the provider answered, and its media type.
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
