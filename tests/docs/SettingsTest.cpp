// The defaults that docs/settings.md tells against those that the components have.

#include <chrono>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "platform/httpapi/Httpapi.h"
#include "uZnAmazonClient.h"
#include "uZnHTTPServer.h"
#include "uZnIPHelper.h"
#include "uZnNamedPipes.h"
#include "uZnTCPClient.h"
#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

namespace
{

using Defaults = std::map<std::string, std::string>; // "Class.Setting" -> as the page writes it

std::string Text(const std::string& AValue)
{
    return AValue.empty() ? "\"\"" : AValue;
}

std::string Text(const TStringList& AValue)
{
    return AValue.Count() == 1 ? AValue[0] : Text(AValue.GetText());
}

std::string Text(std::chrono::milliseconds AValue)
{
    return std::to_string(AValue.count());
}

template <class E>
std::string Text(TZnSet<E> AValue)
{
    return AValue.Empty() ? "{}" : std::to_string(AValue.Count()) + " values";
}

template <class F>
std::string Text(const std::function<F>& AValue)
{
    return AValue ? "an event" : "none";
}

template <class T>
requires std::is_arithmetic_v<T> std::string Text(T AValue)
{
    if constexpr (std::is_same_v<T, bool>)
        return AValue ? "true" : "false";
    else
        return std::to_string(AValue);
}

template <class T>
std::string Text(T* AValue)
{
    return AValue ? "an object" : "none";
}

/// ADefault, which the page names, or the number of another value.
#define ZN_WORD(AValue, ADefault) ((AValue) == (ADefault) ? #ADefault : std::to_string(AValue))
#define ZN_READ(AObject, AClass, ASetting) Result[#AClass "." #ASetting] = Text((AObject).Get##ASetting())
#define ZN_READ_WORD(AObject, AClass, ASetting, ADefault)                                                    \
    Result[#AClass "." #ASetting] = ZN_WORD((AObject).Get##ASetting(), ADefault)

void ReadServer(Defaults& Result)
{
    TZnHTTPServer Server(nullptr);
#define ZN_SERVER(ASetting) ZN_READ(Server, TZnCustomHTTPServer, ASetting)
    ZN_SERVER(Active);
    ZN_SERVER(Bindings);
    ZN_SERVER(OnResponse);
    ZN_SERVER(OnResponseRaw);
    ZN_READ_WORD(Server, TZnCustomHTTPServer, ServerVersion, HTTPServerV1);
    ZN_SERVER(AuthenticationRealm);
    ZN_SERVER(OnGetStoredPassword);
    ZN_SERVER(OnAuthenticate);
    ZN_SERVER(LogonUrl);
    ZN_SERVER(LogoffUrl);
    ZN_SERVER(DefaultUrl);
    ZN_SERVER(MaxBodySize);
    ZN_SERVER(MaxPageSize);
    ZN_SERVER(MaxWorkerThreadCnt);
    ZN_SERVER(MetricsEnabled);
    ZN_SERVER(Name);

    const TZnHTTPServerResponse Response(Server, nullptr);
#define ZN_RESPONSE(ASetting) ZN_READ(Response, TZnHTTPServerResponse, ASetting)
    ZN_RESPONSE(StatusCode);
    ZN_RESPONSE(StatusDescription);
    ZN_RESPONSE(ContentType);
    ZN_RESPONSE(ContentEncoding);
    ZN_RESPONSE(ReleaseContent);
    ZN_RESPONSE(MaxChunkSize);
    ZN_RESPONSE(WwwAuthenticate);
    ZN_RESPONSE(PartialContent);
    ZN_READ_WORD(Response, TZnHTTPServerResponse, ResponseType, rtText);
    ZN_RESPONSE(ResponseText);
    ZN_RESPONSE(ResponseBuffer);
    ZN_RESPONSE(ResponseBufSize);
    ZN_RESPONSE(ResponseStream);
    ZN_RESPONSE(ResponseFileName);
    ZN_RESPONSE(ResponseFileHandle);

#define ZN_TOKENS(ASetting) ZN_READ(Server.GetAuthTokenManager(), TZnHTTPServerAuthTokenManager, ASetting)
    ZN_TOKENS(LogonUrl);
    ZN_TOKENS(LogoffUrl);
    ZN_TOKENS(DefaultUrl);
    ZN_TOKENS(MaxTokens);
#define ZN_PROVIDER(ASetting) ZN_READ(Server.GetOpenIDConnect(), TZnHTTPServerOIDC, ASetting)
    ZN_PROVIDER(ClientId);
    ZN_PROVIDER(ClientSecret);
    ZN_PROVIDER(DiscoveryUrl);
    ZN_PROVIDER(AuthorizeUrl);
    ZN_PROVIDER(TokenUrl);
    Result["For the whole process.RequestBufferSize"] = Text(RequestBufferSize);
    Result["For the whole process.ZnOnGetOAuthAuthorizeForm"] = Text(ZnOnGetOAuthAuthorizeForm);
}

void ReadClient(Defaults& Result)
{
    TZnWinHTTPClient Client(nullptr);
#define ZN_CLIENT(ASetting) ZN_READ(Client, TZnHTTPClientBase, ASetting)
    ZN_READ_WORD(Client, TZnHTTPClientBase, HTTPVersion, HTTP1_1);
    ZN_READ_WORD(Client, TZnHTTPClientBase, CookieHandling, chAutomatic);
    ZN_READ_WORD(Client, TZnHTTPClientBase, RedirectPolicy, rdpDisallowHttpsToHttp);
    ZN_CLIENT(SecurityFlags);
    ZN_READ_WORD(Client, TZnHTTPClientBase, Authentication, authNone);
    ZN_CLIENT(MaxInflatedSize);
    ZN_CLIENT(OnProgress);
    ZN_CLIENT(OnRequest);
    ZN_CLIENT(OnRequestError);
    ZN_CLIENT(OnResponse);
    ZN_CLIENT(OnGetClientCertificate);
    ZN_CLIENT(OnGetOAuthAuthorizeForm);
    ZN_READ_WORD(Client, TZnHTTPTransportClient, AccessType, atDefault);
    ZN_READ(Client, TZnHTTPTransportClient, ClientCertificatePassword);

    TZnWinINetClient Asking(nullptr);
    ZN_READ(Asking, TZnWinINetClient, SecurityFlags);
    ZN_READ_WORD(Asking, TZnWinINetClient, Authentication, authNone);
    ZN_READ(Asking, TZnWinINetClient, DisableCache);
    ZN_READ(Asking, TZnWinINetClient, OnError);

    TZnWinHTTPSession Session(nullptr);
#define ZN_SESSION(ASetting) ZN_READ(Session, TZnHTTPTransportSession, ASetting)
    ZN_SESSION(Active);
    ZN_SESSION(UserAgent);
    ZN_READ_WORD(Session, TZnHTTPTransportSession, AccessType, atDefault);
    ZN_SESSION(ProxyServer);
    ZN_SESSION(ProxyServerBypass);
    ZN_SESSION(AuthoritiesFile);
    ZN_READ(Session, TZnWinHTTPSession, SecureProtocols);

    ZN_READ(Client.GetTimeOuts(), TZnHTTPTimeOuts, ConnectTimeOut);
    ZN_READ(Client.GetTimeOuts(), TZnHTTPTimeOuts, SendTimeOut);
    ZN_READ(Client.GetTimeOuts(), TZnHTTPTimeOuts, ReceiveTimeOut);
    ZN_READ(Client.GetCredentials(), TZnCredentials, UserName);
    ZN_READ(Client.GetCredentials(), TZnCredentials, Password);

#define ZN_OAUTH(ASetting) ZN_READ(Client.GetOAuth(), TZnOAuth, ASetting)
    ZN_READ_WORD(Client.GetOAuth(), TZnOAuth, GrantType, oagtAuthorize);
    ZN_OAUTH(AppID);
    ZN_OAUTH(ClientSecret);
    ZN_OAUTH(Scope);
    ZN_OAUTH(AuthEndpoint);
    ZN_OAUTH(TokenEndpoint);
    ZN_OAUTH(RedirectURI);
    ZN_OAUTH(SuccessMessage);
    ZN_OAUTH(RefreshToken);
    ZN_OAUTH(UsePKCE);
    ZN_OAUTH(UseState);
    ZN_OAUTH(UseRefreshToken);
}

void ReadHeaders(Defaults& Result)
{
    const TZnHTTPRequestHeaders Headers;
#define ZN_HEADER(ASetting) ZN_READ(Headers, TZnHTTPRequestHeaders, ASetting)
    ZN_HEADER(AssignedValues);
    ZN_HEADER(CustomHeaders);
    ZN_HEADER(Accept);
    ZN_HEADER(AcceptCharset);
    ZN_HEADER(AcceptDatetime);
    ZN_HEADER(AcceptEncoding);
    ZN_HEADER(AcceptLanguage);
    ZN_READ_WORD(Headers, TZnHTTPRequestHeaders, Connection, ctKeepAlive);
    ZN_HEADER(Cookie);
    ZN_HEADER(Expect);
    ZN_HEADER(From);
    ZN_HEADER(MaxForwards);
    ZN_HEADER(Origin);
    ZN_HEADER(Pragma);
    ZN_HEADER(Referer);
    ZN_HEADER(UserAgent);

#define ZN_CACHE(ASetting) ZN_READ(Headers.GetCacheControl(), TZnHTTPCacheControl, ASetting)
    ZN_CACHE(AssignedValues);
    ZN_READ_WORD(Headers.GetCacheControl(), TZnHTTPCacheControl, CacheControlType, ccPublic);
    ZN_CACHE(NoCache);
    ZN_CACHE(NoStore);
    ZN_CACHE(MaxAge);
    ZN_CACHE(MaxStale);
    ZN_CACHE(MinFresh);
    ZN_CACHE(NoTransform);
    ZN_CACHE(OnlyIfCached);
    ZN_CACHE(Extensions);

    const TZnHTTPByteRange Range;
    ZN_READ(Range, TZnHTTPByteRange, FirstBytePos);
    ZN_READ(Range, TZnHTTPByteRange, FirstByteSet);
    ZN_READ(Range, TZnHTTPByteRange, LastBytePos);
    ZN_READ(Range, TZnHTTPByteRange, LastByteSet);
}

void ReadPipes(Defaults& Result)
{
    TZnNamedPipeServer Server;
    Result["TZnNamedPipe.PipeName"] = Text(Server.GetShortPipeName());
    ZN_READ(Server, TZnNamedPipe, ServerName);
    ZN_READ_WORD(Server, TZnNamedPipe, ReceiveSyncType, rsSynchronized);
    ZN_READ(Server, TZnNamedPipe, DisconnectOnStandBy);
    ZN_READ(Server, TZnNamedPipe, DisableNetworkCheck);
    ZN_READ(Server, TZnNamedPipeServer, Active);
    ZN_READ(Server, TZnNamedPipeServer, MaxConnections);
    const TZnNamedPipeClient Client;
    ZN_READ(Client, TZnNamedPipeClient, ServerName);
    ZN_READ(Client, TZnNamedPipeClient, UserName);
    ZN_READ(Client, TZnNamedPipeClient, Password);
    ZN_READ(Client, TZnNamedPipeClient, AutoReconnect);
    ZN_READ(Client, TZnNamedPipeClient, MinWaitBeforeReconnect);
}

void ReadNetwork(Defaults& Result)
{
    const TZnTCPClient Tcp;
    ZN_READ(Tcp, TClientSocket, Host);
    ZN_READ(Tcp, TClientSocket, Address);
    ZN_READ(Tcp, TClientSocket, Port);
    ZN_READ(Tcp, TClientSocket, ConnectTimeOut);
    ZN_READ(Tcp, TClientSocket, Active);
    ZN_READ(Tcp, TZnTCPClient, TimeOut);
    ZN_READ(Tcp, TZnTCPClient, MaxAnswerLength);
    const TZnNetworkAdapters Adapters;
    ZN_READ(Adapters, TZnNetworkAdapters, OnInterfaceChanged);
}

void ReadAmazon(Defaults& Result)
{
    TZnAmazonClient Amazon(nullptr);
#define ZN_AMAZON(ASetting) ZN_READ(Amazon, TZnAmazonClient, ASetting)
    ZN_AMAZON(Service);
    ZN_AMAZON(Region);
    ZN_AMAZON(AccessKeyID);
    ZN_AMAZON(AccessKey);
    ZN_AMAZON(SessionToken);
    ZN_AMAZON(TargetPrefix);
    ZN_AMAZON(ContentType);
    ZN_READ_WORD(Amazon, TZnAmazonClient, CanonicalForm, cfClassic);
    ZN_AMAZON(EndpointDomain);
    ZN_AMAZON(EndpointLabel);
    ZN_AMAZON(EndpointScheme);
    ZN_AMAZON(EndpointPort);
    ZN_READ_WORD(Amazon, TZnAmazonClient, EndpointForm, efRegional);
    ZN_AMAZON(MaxRetries);
    ZN_AMAZON(RetryDelay);
    ZN_READ_WORD(Amazon, TZnAmazonClient, CookieHandling, chAutomatic);
    ZN_AMAZON(SecurityFlags);
    ZN_AMAZON(OnRequest);
    ZN_AMAZON(OnProgress);
    ZN_AMAZON(OnRequestError);
    ZN_AMAZON(OnResponse);
}

void ReadLimits(Defaults& Result)
{
    const TZnHttpServiceLimits Limits;
#define ZN_LIMIT(ASetting) Result["TZnHttpServiceLimits." #ASetting] = Text(Limits.ASetting)
    ZN_LIMIT(RequestLine);
    ZN_LIMIT(Headers);
    ZN_LIMIT(HeaderFields);
    ZN_LIMIT(HeadWait);
    ZN_LIMIT(IdleWait);
    ZN_LIMIT(TransferWait);
    ZN_LIMIT(MinBytesPerSecond);
    ZN_LIMIT(LingerWait);
    ZN_LIMIT(Connections);
    ZN_LIMIT(ConnectionsPerAddress);
}

/// Rows "| `Setting` | `default` | ..." below a heading that ends in the class, or is the class's stand-in.
Defaults ReadPage()
{
    Defaults Result;
    std::ifstream Page(ZN_SETTINGS_PAGE);
    const std::regex Heading("## (?:.*`(\\w+)`|(.*))"), Row("\\| `(\\w+)` \\| `([^|]*)` \\| .*");
    std::string Class;
    std::smatch Match;
    for (std::string Line; std::getline(Page, Line);) {
        if (std::regex_match(Line, Match, Heading))
            Class = Match[1].matched ? Match[1] : Match[2];
        else if (Class != "Environment variables" && std::regex_match(Line, Match, Row))
            Result[Class + "." + Match[1].str()] = Match[2];
    }
    return Result;
}

TEST(SettingsPage, TellsTheDefaultsThatTheComponentsHave)
{
    Defaults Found;
    for (const auto Read :
         {ReadServer, ReadClient, ReadHeaders, ReadPipes, ReadNetwork, ReadAmazon, ReadLimits})
        Read(Found);
    const Defaults Told = ReadPage();
    EXPECT_FALSE(Told.empty());
    for (const auto& [Setting, Value] : Found)
        EXPECT_EQ(Told.contains(Setting) ? Told.at(Setting) : "(no such row)", Value) << Setting;
    for (const auto& [Setting, Value] : Told)
        EXPECT_TRUE(Found.contains(Setting)) << Setting << " is told, and not compared";
}

} // namespace
