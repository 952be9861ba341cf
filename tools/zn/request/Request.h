#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/zn/request/OAuth.h"
#include "uZnHTTPClient.h"

namespace Zn
{

// What a request returns to the shell beside cExitOk (a status below 400), cExitFailure and cExitUsage.
inline constexpr int cExitNoConnection = 3;
inline constexpr int cExitClientError = 4; // status 400 to 499
inline constexpr int cExitServerError = 5; // status 500 and above
inline constexpr int cExitTimeOut = 6;
inline constexpr int cExitNotTrusted = 7; // TLS or a certificate, the server's or the client's

enum class TTransport { WinHTTP, WinINet };

/// What `zn request` and its short forms are asked for.
struct TRequestCommand
{
    TZnHTTPMethod Method = httpGET;
    std::string Url;
    TTransport Transport = TTransport::WinHTTP;
    std::vector<std::string> Headers; // "Name: value"
    std::optional<std::string> Data;  // a text, "@FILE", or "@-" for standard input
    std::string ContentType;
    std::string OutputFile; // empty: standard output
    bool ShowHead = false;
    bool ListMethods = false; // print what the server allows in the place of the body
    std::string User;         // "name:password"; without ":" the password is asked for
    TZnHTTPAuthentication Authentication = authNone;
    TOAuthOptions OAuth; // for authOAuth2
    std::string Proxy;   // "host:port", "direct", or empty: as the environment says
    std::string ProxyUser;
    TZnHTTRedirectPolicy Redirect = rdpDisallowHttpsToHttp;
    TZnHTTPCookieHandling Cookies = chAutomatic;
    TZnHTTPSecurityFlags SecurityFlags;
    std::string Certificate;     // file: PEM with its key, or PKCS#12
    std::string AuthoritiesFile; // file: PEM
    std::optional<int> TimeOut;  // ms
};

/// Sends it and prints the response; the exit code.
int RunRequest(const TRequestCommand& ACommand);

} // namespace Zn
