#include "common/DateTime.h"
#include "common/Exceptions.h"
#include "uZnAmazonClient.h"
#include "uZnAmazonClient/BodyHash.h"
#include "uZnAmazonClient/Signature.h"

std::string TZnAmazonClient::PresignURL(TZnHTTPMethod AMethod, const std::string& ATarget,
                                        const std::string& AResource, std::chrono::seconds AExpires,
                                        const TParams& AParams) const
{
    return PresignURLAt(Zn::SigningDate(ZnNowUTC()), AMethod, ATarget, AResource, AExpires, AParams);
}

std::string TZnAmazonClient::PresignURLAt(const std::string& ADate, TZnHTTPMethod AMethod,
                                          const std::string& ATarget, const std::string& AResource,
                                          std::chrono::seconds AExpires, const TParams& AParams) const
{
    constexpr std::chrono::seconds cLongest = std::chrono::days(7);
    if (AMethod != httpGET && AMethod != httpPUT)
        throw EInvalidArgument("Only GET and PUT have presigned URLs!");
    if (AExpires < std::chrono::seconds(1) || AExpires > cLongest)
        throw EInvalidArgument("A presigned URL is good for 1 second to 7 days!");

    // Whoever has the URL sends nothing but a Host field: all else is signed as parameters.
    const Zn::TSigner Signer = this->Signer();
    TParams Params = AParams;
    Params.push_back({"X-Amz-Algorithm", FSignAlg});
    Params.push_back({"X-Amz-Credential", FAccessKeyID + "/" + Zn::CredentialScope(Signer, ADate)});
    Params.push_back({"X-Amz-Date", ADate});
    Params.push_back({"X-Amz-Expires", std::to_string(AExpires.count())});
    if (!FSessionToken.empty())
        Params.push_back({"X-Amz-Security-Token", FSessionToken});
    Params.push_back({"X-Amz-SignedHeaders", "host"});
    const std::string Query = Zn::SortedQuery(Zn::QueryOf(Params, cfExact), cfExact);

    const std::string Location = Zn::WithResource(BaseURL(ATarget), AResource);
    const TZnURLData URL = ZnDecodeURL(Location);
    const std::string Host = URL.Origin.substr(URL.Scheme.size() + 3);
    const std::string Payload = FService == "s3" ? "UNSIGNED-PAYLOAD" : Zn::cHashOfNothing;
    const std::string Canonical =
        std::string(ZnHTTPMethod[AMethod]) +
        ("\n" + URL.Resource + "\n" + Query + "\nhost:" + Host + "\n\nhost\n" + Payload);
    return Location + "?" + Query +
           "&X-Amz-Signature=" + Zn::SignatureOf(Signer, ADate, Zn::StringToSign(Signer, ADate, Canonical));
}
