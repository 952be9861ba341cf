#include "platform/httpclient/ProxyRules.h"

#include <algorithm>
#include <cstdlib>

#include "platform/httpapi/Grammar.h"

namespace Zn::HttpClient
{

namespace
{

std::vector<std::string> Entries(std::string_view AList, std::string_view ASeparators)
{
    std::vector<std::string> Result;
    while (!AList.empty()) {
        const std::size_t End = AList.find_first_of(ASeparators);
        if (End != 0)
            Result.emplace_back(AList.substr(0, End));
        AList.remove_prefix(End == std::string_view::npos ? AList.size() : End + 1);
    }
    return Result;
}

std::string FromVariable(std::initializer_list<const char*> ANames)
{
    for (const char* Each : ANames)
        if (const char* Value = std::getenv(Each); Value != nullptr && *Value != '\0')
            return Value;
    return {};
}

bool IsProxyAddress(std::string_view AText)
{
    const std::size_t Scheme = AText.find("://");
    const std::string_view Address = Scheme == std::string_view::npos ? AText : AText.substr(Scheme + 3);
    return !Address.empty() && std::ranges::all_of(AText, [](char AChar) {
        return static_cast<unsigned char>(AChar) > 0x20 && AChar != 0x7F && AChar != ',';
    });
}

} // namespace

bool FitsPattern(std::string_view AText, std::string_view APattern)
{
    std::size_t Text = 0;
    std::size_t Pattern = 0;
    std::size_t Star = std::string_view::npos; // the last "*", and how far it reached
    std::size_t Reached = 0;
    while (Text < AText.size()) {
        if (Pattern < APattern.size() && APattern[Pattern] == '*') {
            Star = Pattern++;
            Reached = Text;
        } else if (Pattern < APattern.size() &&
                   Grammar::ToLower(AText[Text]) == Grammar::ToLower(APattern[Pattern])) {
            ++Text;
            ++Pattern;
        } else if (Star != std::string_view::npos) {
            Pattern = Star + 1;
            Text = ++Reached;
        } else {
            return false;
        }
    }
    return APattern.find_first_not_of('*', Pattern) == std::string_view::npos;
}

bool ProxyRules::FromTexts(std::string_view AProxy, std::string_view ABypass, ProxyRules& AResult)
{
    ProxyRules Rules;
    for (const std::string& Each : Entries(AProxy, "; \t")) {
        const std::size_t Equals = Each.find('=');
        const std::string Address = Equals == std::string::npos ? Each : Each.substr(Equals + 1);
        const std::string Scheme = Equals == std::string::npos ? std::string() : Each.substr(0, Equals);
        if (!IsProxyAddress(Address))
            return false;
        const std::string Proxy = Scheme == "socks" ? "socks5h://" + Address : Address;
        if (Rules.FHttp.empty() && Scheme != "https")
            Rules.FHttp = Proxy;
        if (Rules.FHttps.empty() && Scheme != "http")
            Rules.FHttps = Proxy;
    }
    if (Rules.FHttp.empty() && Rules.FHttps.empty())
        return false;
    Rules.FBypass = Entries(ABypass, "; \t");
    AResult = std::move(Rules);
    return true;
}

ProxyRules ProxyRules::FromEnvironment()
{
    ProxyRules Rules;
    Rules.FHttp = FromVariable({"http_proxy", "all_proxy", "ALL_PROXY"});
    Rules.FHttps = FromVariable({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"});
    // "example.org" there means the name and everything below it, ".example.org" the same.
    for (const std::string& Each : Entries(FromVariable({"no_proxy", "NO_PROXY"}), ", \t")) {
        const std::string Name = Each.starts_with('.') ? Each.substr(1) : Each;
        Rules.FBypass.push_back(Name);
        Rules.FBypass.push_back("*." + Name);
    }
    return Rules;
}

const std::string& ProxyRules::For(const Origin& AOrigin) const
{
    static const std::string None;
    const std::string& Proxy = AOrigin.Secure ? FHttps : FHttp;
    if (Proxy.empty() || FBypass.empty())
        return Proxy;
    return IsBypassed(AOrigin.Host, AOrigin.Authority()) ? None : Proxy;
}

bool ProxyRules::IsBypassed(std::string_view AHost, std::string_view AAuthority) const
{
    return std::ranges::any_of(FBypass, [&](std::string_view APattern) {
        if (APattern == "<local>")
            return AHost.find('.') == std::string_view::npos && AHost.find(':') == std::string_view::npos;
        if (const std::size_t Scheme = APattern.find("://"); Scheme != std::string_view::npos)
            APattern.remove_prefix(Scheme + 3);
        if (APattern.starts_with('.'))
            return AHost.ends_with(APattern);
        const std::string_view Bare = AHost.starts_with('[') ? AHost.substr(1, AHost.size() - 2) : AHost;
        return FitsPattern(AHost, APattern) || FitsPattern(Bare, APattern) ||
               FitsPattern(AAuthority, APattern);
    });
}

} // namespace Zn::HttpClient
