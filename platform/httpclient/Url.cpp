#include "platform/httpclient/Url.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>

#include <curl/curl.h>

namespace Zn::HttpClient
{

namespace
{

struct UrlDeleter
{
    void operator()(CURLU* AUrl) const { curl_url_cleanup(AUrl); }
};
using CurlUrl = std::unique_ptr<CURLU, UrlDeleter>;

std::uint16_t DefaultPort(bool ASecure)
{
    return ASecure ? 443 : 80;
}

bool IsControl(char AChar)
{
    const auto Byte = static_cast<unsigned char>(AChar);
    return Byte < 0x20 || Byte == 0x7F;
}

constexpr auto cNeedsEscape = [] {
    std::array<bool, 256> Result{};
    for (std::size_t Byte = 0; Byte < Result.size(); ++Byte)
        Result[Byte] = Byte <= 0x20 || Byte >= 0x7F;
    for (const char Each : std::string_view(R"("<>\^`{|})"))
        Result[static_cast<unsigned char>(Each)] = true;
    return Result;
}();

bool NeedsEscape(char AChar)
{
    return cNeedsEscape[static_cast<unsigned char>(AChar)];
}

void AppendEscaped(std::string& ATarget, std::string_view APart, bool APercent)
{
    constexpr std::string_view cDigits = "0123456789ABCDEF";
    for (const char Each : APart) {
        if (!NeedsEscape(Each) && !(APercent && Each == '%')) {
            ATarget += Each;
            continue;
        }
        const auto Byte = static_cast<unsigned char>(Each);
        ATarget += {'%', cDigits[Byte >> 4], cDigits[Byte & 15]};
    }
}

std::string PartOf(CURLU* AUrl, CURLUPart APart)
{
    char* Text = nullptr;
    if (curl_url_get(AUrl, APart, &Text, APart == CURLUPART_PORT ? CURLU_DEFAULT_PORT : 0U) != CURLUE_OK)
        return {};
    std::string Result(Text);
    curl_free(Text);
    return Result;
}

} // namespace

std::string Origin::Authority() const
{
    return Text().substr(Secure ? 8 : 7);
}

std::string Origin::Text() const
{
    std::string Result(Secure ? "https://" : "http://");
    AppendTo(Result);
    return Result;
}

void Origin::AppendTo(std::string& AText) const
{
    AText += Host;
    if (Port == DefaultPort(Secure))
        return;
    std::array<char, 8> Digits{':'};
    const auto End = std::to_chars(Digits.data() + 1, Digits.data() + Digits.size(), Port).ptr;
    AText.append(Digits.data(), End);
}

std::string Url::Text() const
{
    return Origin.Text() + (Target == "*" ? "/" : Target);
}

std::string HostForUrl(std::string_view AHost)
{
    const bool Bracketed = AHost.starts_with('[') && AHost.ends_with(']');
    const bool Forbidden = std::ranges::any_of(AHost, [](char AChar) {
        return IsControl(AChar) ||
               std::string_view(" /?#@\\<>^`{|}\"%").find(AChar) != std::string_view::npos;
    });
    if (AHost.empty() || (Forbidden && AHost.find(':') == std::string_view::npos) || AHost.size() > 1024)
        return {};
    std::string Host = Bracketed || AHost.find(':') == std::string_view::npos
                           ? std::string(AHost)
                           : '[' + std::string(AHost) + ']';
    const CurlUrl Check(curl_url());
    if (!Check || curl_url_set(Check.get(), CURLUPART_URL, ("http://" + Host + "/").c_str(), 0) != CURLUE_OK)
        return {};
    return PartOf(Check.get(), CURLUPART_PATH) == "/" ? Host : std::string();
}

std::string TargetFromPath(std::string_view APath, const TargetEscapes& AEscapes)
{
    if (std::ranges::any_of(APath, IsControl))
        return {};
    const std::string_view Whole = APath.substr(0, APath.find('#'));
    const std::string_view Path = Whole.substr(0, Whole.find('?'));
    const std::string_view Query = Whole.substr(Path.size());
    const bool LeaveQuery = AEscapes.LeavePath || AEscapes.LeaveQuery;
    if ((AEscapes.LeavePath && Path.find(' ') != std::string_view::npos) ||
        (LeaveQuery && Query.find(' ') != std::string_view::npos))
        return {};
    std::string Target;
    Target.reserve(Whole.size() + 1);
    if (!Path.starts_with('/'))
        Target += '/';
    if (AEscapes.LeavePath)
        Target += Path;
    else
        AppendEscaped(Target, Path, AEscapes.Percent);
    if (LeaveQuery)
        Target += Query;
    else
        AppendEscaped(Target, Query, AEscapes.Percent);
    return Target;
}

std::optional<Url> ResolveLocation(const Url& ABase, std::string_view ALocation)
{
    const CurlUrl Parts(curl_url());
    constexpr unsigned int cFlags = CURLU_URLENCODE | CURLU_ALLOW_SPACE;
    if (!Parts ||
        curl_url_set(Parts.get(), CURLUPART_URL, ABase.Text().c_str(), CURLU_PATH_AS_IS) != CURLUE_OK ||
        curl_url_set(Parts.get(), CURLUPART_URL, std::string(ALocation).c_str(), cFlags) != CURLUE_OK)
        return std::nullopt;
    const std::string Scheme = PartOf(Parts.get(), CURLUPART_SCHEME);
    const std::string Port = PartOf(Parts.get(), CURLUPART_PORT);
    Url Result;
    Result.Origin = {Scheme == "https", PartOf(Parts.get(), CURLUPART_HOST), 0};
    Result.Target = PartOf(Parts.get(), CURLUPART_PATH);
    if (const std::string Query = PartOf(Parts.get(), CURLUPART_QUERY); !Query.empty())
        Result.Target += '?' + Query;
    const bool Known = Scheme == "http" || Scheme == "https";
    if (!Known || Result.Origin.Host.empty() ||
        std::from_chars(Port.data(), Port.data() + Port.size(), Result.Origin.Port).ec != std::errc())
        return std::nullopt;
    return Result;
}

} // namespace Zn::HttpClient
