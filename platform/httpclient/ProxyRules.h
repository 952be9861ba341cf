#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/httpclient/Url.h"

namespace Zn::HttpClient
{

/// Which proxy a request goes through.
class ProxyRules
{
public:
    /// None: every request goes straight.
    ProxyRules() = default;
    /// AProxy: "host:port", "scheme://host:port", or a list "http=host:port https=host:port" (blanks or ";"
    /// between the entries); ABypass: names with "*", ".suffix", addresses, "<local>". False for a proxy that
    /// is no address.
    static bool FromTexts(std::string_view AProxy, std::string_view ABypass, ProxyRules& AResult);
    /// http_proxy, https_proxy, HTTPS_PROXY, all_proxy, ALL_PROXY, no_proxy, NO_PROXY, read now. HTTP_PROXY
    /// isn't: a client of a web server could set it by a header.
    static ProxyRules FromEnvironment();

    /// As libcurl takes it; empty for none.
    const std::string& For(const Origin& AOrigin) const;

private:
    bool IsBypassed(std::string_view AHost, std::string_view AAuthority) const;

    std::string FHttp;
    std::string FHttps;
    std::vector<std::string> FBypass;
};

/// Whether AText fits a pattern in which "*" stands for any run of characters; without regard to case.
bool FitsPattern(std::string_view AText, std::string_view APattern);

} // namespace Zn::HttpClient
