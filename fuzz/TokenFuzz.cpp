/// A token is refused with one of the told exceptions unless it is signed. The input, a "." and a payload are
/// tried as they stand, and once more as a payload that is signed.

#include <string>
#include <string_view>

#include "common/Exceptions.h"
#include "fuzz/FuzzCheck.h"
#include "tests/support/TokenSigner.h"
#include "uZnHTTPServer.h"

namespace
{

struct Provider
{
    Provider() { Server.GetOpenIDConnect().AddKeys(Signer.KeySet("k")); }

    Zn::Tests::TokenSigner Signer;
    TZnHTTPServer Server{nullptr};
};

bool Holds(const std::string& AToken, TZnHTTPServerOIDC& AProvider)
{
    try {
        const TZnJWT Token(AToken, AProvider);
        std::string Text;
        for (const char* const Claim : {"email", "roles", "name", "exp", "aud"})
            for (const bool First : {false, true})
                Token.GetClaim(Claim, Text, First);
        AProvider.CheckClaims(Token, "n");
        return true;
    } catch (const EZnHTTPServerAuthGetTokenFailure&) {
    } catch (const EInvalidArgument&) {
    } catch (const EZnJSONException&) {
    } catch (const EConvertError&) {
    }
    return false;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* AData, std::size_t ALength)
{
    static Provider Tests;
    const std::string Input(reinterpret_cast<const char*>(AData), ALength);
    TZnHTTPServerOIDC& OIDC = Tests.Server.GetOpenIDConnect();
    Zn::FuzzCheck(!Holds(Input, OIDC), "nobody but the provider signs");
    const std::string Header = R"({"alg":"RS256","kid":"k"})";
    Zn::FuzzCheck(!Holds(Tests.Signer.Encoded(Header) + "." + Input, OIDC), "nobody but the provider signs");

    TZnOpenIDChecks Checks;
    Checks.Times = Checks.Audience = Checks.Nonce = ALength % 2 == 0;
    OIDC.SetChecks(Checks);
    Holds(Tests.Signer.Sign(Header, Input, "SHA256"), OIDC);
    OIDC.SetChecks({});
    return 0;
}
