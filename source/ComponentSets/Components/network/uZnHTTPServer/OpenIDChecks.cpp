// What a token of the provider claims beside who it is for: each check only where it was asked for.

#include <algorithm>
#include <chrono>

#include "common/Text.h"
#include "uZnHTTPServer/JWT.h"
#include "uZnHTTPServer/OpenIDConnect.h"

namespace
{

/// Seconds since 1970 (NumericDate of RFC 7519); nothing where the claim is absent or no number.
std::optional<double> TimeClaim(const TZnJWT& AToken, std::string_view AName)
{
    const auto* const Number = dynamic_cast<const TJSONNumber*>(AToken.GetPayload().Find(AName));
    if (Number == nullptr)
        return std::nullopt;
    return std::visit(
        [](const auto& AValue) -> std::optional<double> {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(AValue)>>)
                return static_cast<double>(AValue);
            else
                return std::nullopt;
        },
        Number->Value());
}

void CheckIssuer(const TZnJWT& AToken, const std::string& AExpected)
{
    std::string Issuer;
    AToken.GetClaim("iss", Issuer, false);
    if (Issuer != AExpected)
        Zn::RefuseToken("The token comes from another issuer!");
}

bool IsFor(const TJSONValue* AAudience, const std::string& AClientId)
{
    const auto Names = [&](const TJSONValue* AValue) {
        const auto* const Text = dynamic_cast<const TJSONString*>(AValue);
        return Text != nullptr && Text->Text() == AClientId;
    };
    const auto* const Items = dynamic_cast<const TJSONArray*>(AAudience);
    if (Items == nullptr)
        return Names(AAudience);
    for (std::size_t Index = 0; Index < Items->Count(); ++Index)
        if (Names(Items->Item(Index)))
            return true;
    return false;
}

void CheckAudience(const TZnJWT& AToken, const std::string& AClientId)
{
    const TJSONValue* const Party = AToken.GetPayload().Find("azp");
    if (!IsFor(AToken.GetPayload().Find("aud"), AClientId) || (Party != nullptr && !IsFor(Party, AClientId)))
        Zn::RefuseToken("The token is for another client!");
}

void CheckTimes(const TZnJWT& AToken, double ASkew)
{
    using std::chrono::duration_cast, std::chrono::seconds, std::chrono::system_clock;
    const auto Time =
        static_cast<double>(duration_cast<seconds>(system_clock::now().time_since_epoch()).count());
    const std::optional<double> Expires = TimeClaim(AToken, "exp");
    if (!Expires || Time >= *Expires + ASkew)
        Zn::RefuseToken("The token has expired!");
    if (Time < TimeClaim(AToken, "nbf").value_or(0) - ASkew)
        Zn::RefuseToken("The token is not valid yet!");
}

/// The nonce went out as it stands, and a provider reads a "+" in a query as a blank. (The state is a blank
/// there as well, but the browser's form turns it back into the "+".)
std::string AsProviderReads(std::string ANonce)
{
    std::replace(ANonce.begin(), ANonce.end(), '+', ' ');
    return ANonce;
}

void CheckNonce(const TZnJWT& AToken, const std::string& ANonce)
{
    std::string Nonce;
    AToken.GetClaim("nonce", Nonce, false);
    if (Nonce.empty() || AsProviderReads(Nonce) != AsProviderReads(ANonce))
        Zn::RefuseToken("The token answers another request!");
}

} // namespace

void TZnHTTPServerOIDC::CheckClaims(const TZnJWT& AToken, const std::string& ANonce) const
{
    if (!FChecks.Issuer.empty())
        CheckIssuer(AToken, FChecks.Issuer);
    if (FChecks.Audience)
        CheckAudience(AToken, FClientId);
    if (FChecks.Times)
        CheckTimes(AToken, FChecks.ClockSkew);
    if (FChecks.Nonce)
        CheckNonce(AToken, ANonce);
}
