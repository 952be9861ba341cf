#include "uZnAmazonClient/Signature.h"

#include "common/Exceptions.h"
#include "common/Hash.h"
#include "common/Text.h"

namespace
{

constexpr std::string_view cTerminator = "aws4_request";

void Append(std::string& AText, std::initializer_list<std::string_view> AParts)
{
    for (const std::string_view Part : AParts)
        AText.append(Part);
}

} // namespace

std::string Zn::SigningDate(TDateTime AUTC)
{
    const TZnDateParts Parts = ZnDecodeDateTime(AUTC);
    return ZnFormat("%04d%02d%02dT%02d%02d%02dZ", Parts.Year, Parts.Month, Parts.Day, Parts.Hour,
                    Parts.Minute, Parts.Second);
}

std::string_view Zn::DateStamp(std::string_view ADate)
{
    return ADate.substr(0, ADate.find('T'));
}

std::string Zn::CredentialScope(const TSigner& ASigner, std::string_view ADate)
{
    std::string Result;
    Append(Result, {DateStamp(ADate), "/", ASigner.Region, "/", ASigner.Service, "/", cTerminator});
    return Result;
}

std::string Zn::StringToSign(const TSigner& ASigner, std::string_view ADate,
                             std::string_view ACanonicalRequest)
{
    std::string Result;
    Append(Result, {ASigner.Algorithm, "\n", ADate, "\n", CredentialScope(ASigner, ADate), "\n",
                    THashSHA2::GetHashString(ACanonicalRequest)});
    return Result;
}

std::string Zn::SignatureOf(const TSigner& ASigner, std::string_view ADate, std::string_view AStringToSign)
{
    std::string Secret("AWS4");
    Secret.append(ASigner.AccessKey);
    TZnBytes Key = THashSHA2::GetHMACAsBytes(LowerCase(DateStamp(ADate)), Secret);
    Key = THashSHA2::GetHMACAsBytes(ASigner.Region, Key);
    Key = THashSHA2::GetHMACAsBytes(ASigner.Service, Key);
    Key = THashSHA2::GetHMACAsBytes(cTerminator, Key);
    return THashSHA2::DigestAsString(THashSHA2::GetHMACAsBytes(AStringToSign, Key));
}

std::string Zn::Authorization(const TSigner& ASigner, std::string_view ADate, std::string_view ASignedHeaders,
                              std::string_view AStringToSign)
{
    std::string Result;
    Append(Result,
           {ASigner.Algorithm, " Credential=", ASigner.AccessKeyID, "/", CredentialScope(ASigner, ADate),
            ", SignedHeaders=", ASignedHeaders, ", Signature=", SignatureOf(ASigner, ADate, AStringToSign)});
    return Result;
}
