#include "uZnAmazonClient/Query.h"

#include <algorithm>
#include <utility>

#include "common/NetEncoding.h"
#include "common/StringList.h"
#include "common/Text.h"

namespace
{

constexpr TZnTextSet cUnreserved = TZnTextSet::Range('a', 'z') | TZnTextSet::Range('A', 'Z') |
                                   TZnTextSet::Range('0', '9') | TZnTextSet("-._~");

/// By name, then by value, byte for byte.
bool IsBefore(std::string_view ALeft, std::string_view ARight)
{
    const auto Cut = [](std::string_view APart) {
        const std::size_t Equals = std::min(APart.find(cZnEquals), APart.size());
        return std::pair(APart.substr(0, Equals), APart.substr(Equals));
    };
    return Cut(ALeft) < Cut(ARight);
}

template <class TLines>
std::string Joined(const TLines& ALines)
{
    std::string Result;
    const char* Separator = "";
    for (const auto& Line : ALines)
        Result.append(std::exchange(Separator, "&")).append(Line);
    return Result;
}

} // namespace

std::vector<TNameValuePair> CreateParams(const std::vector<std::string>& AParams)
{
    std::vector<TNameValuePair> Result;
    Result.reserve(AParams.size());
    for (const std::string& Param : AParams) {
        const std::size_t Equals = Param.find(cZnEquals);
        if (Equals == std::string::npos)
            Result.push_back({Param, {}});
        else
            Result.push_back({Param.substr(0, Equals), Param.substr(Equals + 1)});
    }
    return Result;
}

std::string Zn::EncodeStrict(std::string_view AText, bool AKeepSlash)
{
    constexpr std::string_view cDigits = "0123456789ABCDEF";
    std::string Result;
    Result.reserve(AText.size() * 2);
    for (const char Char : AText) {
        if (cUnreserved.Contains(Char) || (AKeepSlash && Char == cZnSlash)) {
            Result += Char;
            continue;
        }
        const auto Byte = static_cast<unsigned char>(Char);
        Result.append({cZnPercent, cDigits[Byte >> 4], cDigits[Byte & 0x0F]});
    }
    return Result;
}

std::string Zn::QueryOf(const std::vector<TNameValuePair>& AParams, TZnAmazonCanonicalForm AForm)
{
    const auto Encoded = [AForm](const std::string& AText) {
        return AForm == cfExact ? EncodeStrict(AText) : TZnNetEncoding::URL().EncodeForm(AText);
    };
    std::string Result;
    for (const TNameValuePair& Param : AParams)
        Result.append("&").append(Encoded(Param.Name)).append("=").append(Encoded(Param.Value));
    return Result.empty() ? Result : Result.substr(1);
}

std::string Zn::SortedQuery(std::string_view AQuery, TZnAmazonCanonicalForm AForm)
{
    if (AForm == cfExact) {
        auto Parts = ZnTokenize(AQuery, cZnAmpersand);
        std::stable_sort(Parts.begin(), Parts.end(), IsBefore);
        return Joined(Parts);
    }
    TStringList Parts;
    ZnTokenize(AQuery, Parts, cZnAmpersand);
    Parts.Sort();
    return Joined(Parts);
}
