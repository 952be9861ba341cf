#include "uZnHTTPServer/Digest.h"

#include <algorithm>
#include <utility>

#include "common/Hash.h"
#include "common/Text.h"

namespace Zn
{
namespace
{

std::string_view WithoutQuotes(std::string_view AValue)
{
    if (!AValue.starts_with('"'))
        return AValue;
    AValue.remove_prefix(1);
    AValue.remove_suffix(AValue.empty() ? 0 : 1);
    return AValue;
}

std::string UnescapeBackslashes(std::string_view AText)
{
    std::string Result;
    Result.reserve(AText.size());
    while (!AText.empty()) {
        Result += AText.front();
        AText.remove_prefix(AText.starts_with("\\\\") ? 2 : 1);
    }
    return Result;
}

std::string_view MethodPrefix(THTTP_VERB AVerb)
{
    switch (AVerb) {
    case HttpVerbGET:
        return "GET:";
    case HttpVerbPOST:
        return "POST:";
    case HttpVerbPUT:
        return "PUT:";
    case HttpVerbPROPPATCH:
        return "PROPPATCH:";
    case HttpVerbDELETE:
        return "DELETE:";
    default:
        return {};
    }
}

std::string HA2(std::string_view AUri, THTTP_VERB AVerb)
{
    const std::string_view Prefix = MethodPrefix(AVerb);
    if (Prefix.empty())
        return {};
    std::string Text(Prefix);
    Text += AUri;
    return MD5Hash(Text);
}

} // namespace

DigestCredentials ParseDigestCredentials(std::string_view ACredentials)
{
    DigestCredentials Result;
    std::string_view UserName;
    const std::pair<std::string_view, std::string_view*> Fields[] = {
        {"username", &UserName},    {"nonce", &Result.Nonce},   {"uri", &Result.Uri},
        {"cnonce", &Result.CNonce}, {"nc", &Result.NC},         {"response", &Result.Response},
        {"qop", &Result.QOP},       {"opaque", &Result.Opaque},
    };
    while (!ACredentials.empty()) {
        const std::size_t Comma = std::min(ACredentials.find(','), ACredentials.size());
        const std::string_view Pair = ACredentials.substr(0, Comma);
        ACredentials.remove_prefix(std::min(Comma + 1, ACredentials.size()));

        const std::size_t Equals = std::min(Pair.find('='), Pair.size());
        const std::string_view Name = ZnTrimView(Pair.substr(0, Equals));
        const auto* const Known = std::find_if(std::begin(Fields), std::end(Fields),
                                               [&](const auto& AField) { return AField.first == Name; });
        if (Known != std::end(Fields))
            *Known->second = WithoutQuotes(ZnTrimView(Pair.substr(std::min(Equals + 1, Pair.size()))));
    }
    Result.UserName = UnescapeBackslashes(UserName);
    return Result;
}

std::string DigestResponse(const DigestCredentials& ACredentials, THTTP_VERB AVerb,
                           std::string_view AStoredHash)
{
    const std::string Ha2 = HA2(ACredentials.Uri, AVerb);
    std::string Text = LowerCase(AStoredHash);
    Text.reserve(Text.size() + ACredentials.Nonce.size() + ACredentials.NC.size() +
                 ACredentials.CNonce.size() + ACredentials.QOP.size() + Ha2.size() + 5);
    for (const std::string_view Part :
         {ACredentials.Nonce, ACredentials.NC, ACredentials.CNonce, ACredentials.QOP})
        Text.append(1, ':').append(Part);
    Text.append(1, ':').append(Ha2);
    return MD5Hash(Text);
}

} // namespace Zn
