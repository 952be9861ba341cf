#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/Component.h"
#include "common/Json.h"
#include "platform/Api.h"

class TZnHTTPServerOIDC;

/// The claims of a signed token (RFC 7519, compact form of RFC 7515). There is an object only for a token
/// whose signature is the provider's: RS256, RS384 or RS512 (RFC 7518), by the key that its header names.
///
/// Errors: the constructor raises EInvalidArgument for a text of other than three parts, EZnJSONException for
/// a header or payload that is no JSON object, EZnHTTPServerAuthGetTokenFailure for an algorithm, key or
/// signature that doesn't do. Issuer, audience, times and nonce are not its matter: see
/// TZnHTTPServerOIDC::CheckClaims.
class ZN_API TZnJWT : public TObject
{
public:
    /// Longest token that is read, in bytes.
    static constexpr std::size_t cMaxLength = 256 * 1024;

    /// Reads a token and checks its signature by the provider's keys. Raises EInvalidArgument for a text that
    /// is none, EZnHTTPServerAuthGetTokenFailure for one that doesn't hold.
    TZnJWT(std::string_view AToken, TZnHTTPServerOIDC& AOIDC);

    /// A claim as text; numbers and Booleans in their JSON form. Of an array its JSON text, or with
    /// AReturnFirstIfArray its first element, empty when it has none. False when there is no such claim.
    bool GetClaim(const std::string& AClaim, std::string& AValue, bool AReturnFirstIfArray) const;

    /// The claims, all of them.
    const TJSONObject& GetPayload() const { return *FPayload; }

private:
    std::unique_ptr<TJSONObject> FPayload;
};

namespace Zn
{

/// "<html><body>Invalid id-token!<br/>" and AReason, as the text of a EZnHTTPServerAuthGetTokenFailure.
[[noreturn]] void RefuseToken(std::string_view AReason);

} // namespace Zn
