#include "uZnHTTPServer/Digest.h"

#include <algorithm>

#include "common/Hash.h"
#include "common/Text.h"

namespace Zn
{
namespace
{

struct Field
{
    std::string_view Name;
    std::string DigestCredentials::*Value;
};
constexpr Field cFields[] = {
    {"username", &DigestCredentials::UserName},
    {"nonce", &DigestCredentials::Nonce},
    {"uri", &DigestCredentials::Uri},
    {"cnonce", &DigestCredentials::CNonce},
    {"nc", &DigestCredentials::NC},
    {"response", &DigestCredentials::Response},
    {"qop", &DigestCredentials::QOP},
    {"opaque", &DigestCredentials::Opaque},
};

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

std::string HA2(const DigestCredentials& ACredentials, THTTP_VERB AVerb)
{
    const std::string_view Prefix = MethodPrefix(AVerb);
    if (Prefix.empty())
        return {};
    std::string Text(Prefix);
    Text += ACredentials.Uri;
    return MD5Hash(Text);
}

} // namespace

DigestCredentials ParseDigestCredentials(std::string_view ACredentials)
{
    DigestCredentials Result;
    while (!ACredentials.empty()) {
        const std::size_t Comma = std::min(ACredentials.find(','), ACredentials.size());
        const std::string_view Pair = ACredentials.substr(0, Comma);
        ACredentials.remove_prefix(std::min(Comma + 1, ACredentials.size()));

        const std::size_t Equals = std::min(Pair.find('='), Pair.size());
        const std::string_view Name = ZnTrimView(Pair.substr(0, Equals));
        const std::string_view Value = ZnTrimView(Pair.substr(std::min(Equals + 1, Pair.size())));
        const auto* const Known = std::find_if(std::begin(cFields), std::end(cFields),
                                               [&](const Field& AField) { return AField.Name == Name; });
        if (Known != std::end(cFields))
            Result.*Known->Value = WithoutQuotes(Value);
    }
    Result.UserName = UnescapeBackslashes(Result.UserName);
    return Result;
}

std::string DigestResponse(const DigestCredentials& ACredentials, THTTP_VERB AVerb,
                           std::string_view AStoredHash)
{
    std::string Text = LowerCase(AStoredHash);
    for (const std::string_view Part :
         {std::string_view(ACredentials.Nonce), std::string_view(ACredentials.NC),
          std::string_view(ACredentials.CNonce), std::string_view(ACredentials.QOP)})
        Text.append(1, ':').append(Part);
    Text.append(1, ':').append(HA2(ACredentials, AVerb));
    return MD5Hash(Text);
}

} // namespace Zn
