#include "platform/httpclient/Challenges.h"

#include <cstdlib>
#include <string>

#include <curl/curl.h>
#include <unistd.h>

#include "platform/httpapi/Grammar.h"
#include "platform/httpclient/RequestFields.h"

namespace Zn::HttpClient
{

namespace
{

std::uint32_t SchemeBit(std::string_view AName)
{
    if (SameName(AName, "Negotiate"))
        return Negotiate;
    if (SameName(AName, "NTLM"))
        return Ntlm;
    if (SameName(AName, "Passport1.4"))
        return Passport;
    if (SameName(AName, "Digest"))
        return Digest;
    return SameName(AName, "Basic") ? std::uint32_t{Basic} : 0U;
}

/// The part up to the next comma outside a quoted string, which AText loses.
std::string_view TakeElement(std::string_view& AText)
{
    bool Quoted = false;
    std::size_t At = 0;
    for (; At < AText.size() && (Quoted || AText[At] != ','); ++At) {
        if (AText[At] == '"')
            Quoted = !Quoted;
        else if (Quoted && AText[At] == '\\')
            ++At;
    }
    const std::string_view Element = AText.substr(0, At);
    AText.remove_prefix(At < AText.size() ? At + 1 : AText.size());
    return Grammar::TrimBlanks(Element);
}

/// A scheme stands at the start of an element and is no parameter: "Basic realm=x", "Negotiate", not
/// "qop=auth".
std::uint32_t SchemeOf(std::string_view AElement)
{
    const std::string_view Word = AElement.substr(0, AElement.find_first_of(" \t="));
    const std::string_view Rest = Grammar::TrimBlanks(AElement.substr(Word.size()));
    return Rest.starts_with('=') ? 0 : SchemeBit(Word);
}

std::uint32_t Strongest(std::uint32_t ASchemes)
{
    for (const std::uint32_t Each : {Negotiate, Ntlm, Passport, Digest, Basic})
        if (ASchemes & Each)
            return Each;
    return 0;
}

/// Negotiate takes the process's Kerberos ticket; name and password make none.
bool HasTicketCache()
{
    const char* Named = std::getenv("KRB5CCNAME");
    if (Named != nullptr && *Named != '\0')
        return true;
    return access(("/tmp/krb5cc_" + std::to_string(getuid())).c_str(), R_OK) == 0;
}

} // namespace

std::uint32_t AnswerableSchemes()
{
    static const int Features = curl_version_info(CURLVERSION_NOW)->features;
    std::uint32_t Schemes = Basic | Digest;
    if (Features & CURL_VERSION_NTLM)
        Schemes |= Ntlm;
    if ((Features & CURL_VERSION_SPNEGO) && HasTicketCache())
        Schemes |= Negotiate;
    return Schemes;
}

Challenge ReadChallenges(const ResponseHead& AHead, std::string_view AName, std::uint32_t AAnswerable)
{
    Challenge Result;
    for (std::size_t Index = 0;; ++Index) {
        auto Value = AHead.Find(AName, Index);
        if (!Value)
            break;
        while (!Value->empty())
            Result.Offered |= SchemeOf(TakeElement(*Value));
    }
    const std::uint32_t Answerable = Result.Offered & AAnswerable;
    Result.Best = Strongest(Answerable != 0 ? Answerable : Result.Offered);
    return Result;
}

} // namespace Zn::HttpClient
