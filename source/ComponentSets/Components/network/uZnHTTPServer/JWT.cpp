#include "uZnHTTPServer/JWT.h"

#include <array>
#include <optional>

#include "common/Exceptions.h"
#include "common/NetEncoding.h"
#include "common/RSASignature.h"
#include "common/Text.h"
#include "uZnHTTPServer/AuthExceptions.h"
#include "uZnHTTPServer/OpenIDConnect.h"

namespace
{

struct TokenParts
{
    std::string_view Header;
    std::string_view Payload;
    std::string_view Signed; // header, "." and payload
    std::string_view Signature;
};

TokenParts SplitToken(std::string_view AToken)
{
    const std::size_t First = AToken.find('.');
    const std::size_t Last = AToken.rfind('.');
    if (AToken.size() > TZnJWT::cMaxLength || First == Last ||
        AToken.find('.', First + 1) != Last) // npos twice is no dot at all
        throw EInvalidArgument("The provided JWT token is not a valid token!");
    return {.Header = AToken.substr(0, First),
            .Payload = AToken.substr(First + 1, Last - First - 1),
            .Signed = AToken.substr(0, Last),
            .Signature = AToken.substr(Last + 1)};
}

std::unique_ptr<TJSONObject> ReadPart(std::string_view APart)
{
    return TJSONObject::Parse(TZnNetEncoding::GetBase64ExEncoding().Decode(APart));
}

std::string TextMember(const TJSONObject& AObject, std::string_view AName)
{
    const auto* const Text = dynamic_cast<const TJSONString*>(AObject.Find(AName));
    return Text == nullptr ? std::string() : Text->Text();
}

TZnCryptAlgorithm AlgorithmOf(const TJSONObject& AHeader)
{
    const std::string Name = TextMember(AHeader, "alg");
    if (Name == "RS256")
        return TZnCryptAlgorithm::SHA256;
    if (Name == "RS384")
        return TZnCryptAlgorithm::SHA384;
    if (Name == "RS512")
        return TZnCryptAlgorithm::SHA512;
    Zn::RefuseToken("The TokenAlgorithm is not supported!");
}

/// A signature that can't be checked is as good as a wrong one.
bool IsSignedBy(const TZnRSAPublicKey& AKey, const TokenParts& AToken, TZnCryptAlgorithm AAlgorithm)
{
    try {
        const std::string Signature = TZnNetEncoding::GetBase64ExEncoding().Decode(AToken.Signature);
        return AKey.Verify(ZnDigest(AAlgorithm, AToken.Signed), Signature, AAlgorithm);
    } catch (const EConvertError&) {
        return false;
    }
}

std::shared_ptr<const TZnRSAPublicKey> FindKey(TZnHTTPServerOIDC& AOIDC, const std::string& AKid)
{
    try {
        if (auto Key = AOIDC.FindKey(AKid))
            return Key;
    } catch (const Exception&) { // a key that the provider should not have: nothing it signs is taken
        Zn::RefuseToken("Token verification failed!");
    }
    Zn::RefuseToken("Key not found in keytable!");
}

} // namespace

void Zn::RefuseToken(std::string_view AReason)
{
    throw EZnHTTPServerAuthGetTokenFailure("text/html", "<html><body>Invalid id-token!<br/>" +
                                                            std::string(AReason) + "</body></html>");
}

TZnJWT::TZnJWT(std::string_view AToken, TZnHTTPServerOIDC& AOIDC)
{
    const TokenParts Parts = SplitToken(AToken);
    const std::unique_ptr<TJSONObject> Header = ReadPart(Parts.Header);
    const TZnCryptAlgorithm Algorithm = AlgorithmOf(*Header);
    const std::shared_ptr<const TZnRSAPublicKey> Key = FindKey(AOIDC, TextMember(*Header, "kid"));
    FPayload = ReadPart(Parts.Payload);
    if (!IsSignedBy(*Key, Parts, Algorithm))
        Zn::RefuseToken("Token verification failed!");
}

bool TZnJWT::GetClaim(const std::string& AClaim, std::string& AValue, bool AReturnFirstIfArray) const
{
    AValue.clear();
    const TJSONValue* Claim = FPayload->Find(AClaim);
    if (Claim == nullptr)
        return false;
    const auto* const Items = dynamic_cast<const TJSONArray*>(Claim);
    if (AReturnFirstIfArray && Items != nullptr)
        Claim = Items->Item(0);
    if (Claim != nullptr)
        AValue = ZnVarToStr(Claim->Value());
    return true;
}
