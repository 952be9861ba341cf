#include <map>
#include <memory>

#include <CLI/CLI.hpp>

#include "common/Text.h"
#include "tools/zn/Commands.h"
#include "tools/zn/request/Request.h"

namespace Zn
{

namespace
{

using TOptions = std::shared_ptr<TRequestCommand>;

constexpr const char* cFooter = "The body goes to standard output, errors go to standard error. Exit codes:\n"
                                "  0  a status below 400       4  a status from 400 to 499\n"
                                "  1  any other failure        5  a status of 500 or more\n"
                                "  2  wrong command line       6  too slow: see --timeout\n"
                                "  3  no connection            7  TLS, or a certificate that isn't trusted\n"
                                "Passwords that aren't given behind the \":\" come from ZN_PASSWORD and "
                                "ZN_PROXY_PASSWORD, else from the\n"
                                "terminal; that of a certificate's key from ZN_CERT_PASSWORD.";

template <class T>
void AddChoice(CLI::App& ACommand, const char* AName, T& ATarget, std::map<std::string, T> AChoices,
               const char* ADescription)
{
    std::string Names;
    for (const auto& [Name, Value] : AChoices)
        Names += (Names.empty() ? "" : "|") + Name;
    ACommand.add_option(AName, ATarget, ADescription)
        ->transform(CLI::Transformer(std::move(AChoices), CLI::ignore_case).description(""))
        ->type_name(Names);
}

void AddSecurityFlag(CLI::App& ACommand, const TOptions& AOptions, const char* AName,
                     TZnHTTPSecurityFlags AFlags, const char* ADescription)
{
    ACommand.add_flag_callback(
        AName, [AOptions, AFlags] { AOptions->SecurityFlags = AOptions->SecurityFlags | AFlags; },
        ADescription);
}

void AddOAuthOptions(CLI::App& ACommand, TOAuthOptions& ATo)
{
    AddChoice<TZnOAuthGrantType>(
        ACommand, "--oauth-grant", ATo.Grant,
        {{"authorize", oagtAuthorize},
         {"implicit", oagtImplicit},
         {"password", oagtPassword},
         {"client", oagtClientCredentials}},
        "With --auth oauth2: by a code (the default) or token from the authorization "
        "page in $BROWSER, or with --user from the token endpoint");
    const auto Add = [&](const char* AName, std::string& AValue, const char* AType, const char* AHelp) {
        ACommand.add_option(AName, AValue, AHelp)->type_name(AType);
    };
    Add("--client-id", ATo.ClientId, "ID", "What the provider knows this client as");
    Add("--client-secret-file", ATo.ClientSecretFile, "FILE",
        "The client's secret, if it has one (default: ZN_CLIENT_SECRET)");
    Add("--client-secret", ATo.ClientSecret, "TEXT", "The same, for all who list processes to see");
    Add("--auth-endpoint", ATo.AuthEndpoint, "URL", "The authorization page");
    Add("--token-endpoint", ATo.TokenEndpoint, "URL", "Where tokens are given");
    Add("--redirect-uri", ATo.RedirectUri, "URL",
        "Where the browser comes back to: http://localhost:PORT/NAME, as it is registered");
    Add("--scope", ATo.Scope, "NAMES", "What to ask for");
    ACommand.add_flag("--pkce", ATo.UsePKCE, "Bind the code to this client by a proof (RFC 7636)");
    ACommand.add_flag("--state", ATo.UseState, "Refuse an answer that belongs to another request");
}

void AddOptions(CLI::App& ACommand, const TOptions& AOptions)
{
    TRequestCommand& To = *AOptions;
    ACommand.add_option("-H,--header", To.Headers, "Send this header too, or in the place of its namesake")
        ->type_name("\"Name: value\"")
        ->allow_extra_args(false);
    ACommand.add_option("-d,--data", To.Data, "The body; @FILE sends a file, @- standard input")
        ->type_name("TEXT|@FILE");
    ACommand.add_option("--type", To.ContentType, "The body's Content-Type")->type_name("TYPE");
    ACommand.add_option("-o,--output", To.OutputFile, "Write the body to a file")->type_name("FILE");
    ACommand.add_flag("-i,--include", To.ShowHead, "Print the response's head too");
    AddChoice<TTransport>(ACommand, "--transport", To.Transport,
                          {{"winhttp", TTransport::WinHTTP}, {"wininet", TTransport::WinINet}},
                          "How it is sent: winhttp, the default, asks nobody; wininet asks on the terminal "
                          "whether a certificate is to be accepted that isn't trusted");
    ACommand.add_option("--user", To.User, "Log on to the server")->type_name("USER[:PASSWORD]");
    AddChoice<TZnHTTPAuthentication>(ACommand, "--auth", To.Authentication,
                                     {{"none", authNone},
                                      {"basic", authBasic},
                                      {"digest", authDigest},
                                      {"ntlm", authNTLM},
                                      {"negotiate", authNEGIOTIATE},
                                      {"oauth2", authOAuth2}},
                                     "How to log on at first; none answers what the server asks for");
    AddOAuthOptions(ACommand, To.OAuth);
    ACommand.add_option("--proxy", To.Proxy, "Go through this proxy, not the environment's; or \"direct\"")
        ->type_name("HOST:PORT");
    ACommand.add_option("--proxy-user", To.ProxyUser, "Log on to the proxy")->type_name("USER[:PASSWORD]");
    AddChoice<TZnHTTRedirectPolicy>(
        ACommand, "--redirect", To.Redirect,
        {{"never", rdpNever}, {"safe", rdpDisallowHttpsToHttp}, {"always", rdpAlways}},
        "Which redirects to follow: safe, the default, doesn't go from https to http");
    AddChoice<TZnHTTPCookieHandling>(
        ACommand, "--cookies", To.Cookies, {{"automatic", chAutomatic}, {"manual", chManual}},
        "Who keeps cookies over redirects: the engine, or the library's own store");
    AddSecurityFlag(ACommand, AOptions, "--insecure",
                    {sfIgnoreInvalidCertDate, sfIgnoreUnknownCA, sfIgnoreInvalidCommonName,
                     sfIgnoreRevocation, sfIgnoreWrongUsage},
                    "Take any certificate: all five of the following");
    AddSecurityFlag(ACommand, AOptions, "--ignore-date", {sfIgnoreInvalidCertDate}, "One out of its time");
    AddSecurityFlag(ACommand, AOptions, "--ignore-authority", {sfIgnoreUnknownCA},
                    "One of an unknown authority");
    AddSecurityFlag(ACommand, AOptions, "--ignore-name", {sfIgnoreInvalidCommonName}, "One for another name");
    AddSecurityFlag(ACommand, AOptions, "--ignore-revocation", {sfIgnoreRevocation}, "One that was revoked");
    AddSecurityFlag(ACommand, AOptions, "--ignore-usage", {sfIgnoreWrongUsage},
                    "One made for something else");
    ACommand.add_option("--cert", To.Certificate, "The client's certificate with its key, PEM or PKCS#12")
        ->type_name("FILE");
    ACommand
        .add_option("--authorities", To.AuthoritiesFile,
                    "PEM file of the authorities to trust, in the place of the system's")
        ->type_name("FILE");
    ACommand.add_option("--timeout", To.TimeOut, "For connecting, sending and receiving each, in ms")
        ->type_name("MS")
        ->check(CLI::Range(1, 86400000));
}

void AddUrlAndRun(CLI::App& ACommand, const TOptions& AOptions, int& AExitCode)
{
    ACommand.add_option("URL", AOptions->Url, "http://... or https://...")->required();
    AddOptions(ACommand, AOptions);
    ACommand.footer(cFooter);
    ACommand.callback([AOptions, &AExitCode] { AExitCode = RunRequest(*AOptions); });
}

} // namespace

void AddRequestCommands(CLI::App& AApp, int& AExitCode)
{
    std::map<std::string, TZnHTTPMethod> Methods;
    for (std::size_t Index = 0; Index < ZnHTTPMethod.size(); ++Index)
        Methods.emplace(ZnHTTPMethod[Index], static_cast<TZnHTTPMethod>(Index));

    CLI::App* const Request = AApp.add_subcommand("request", "Send an HTTP request and print the response");
    const auto Options = std::make_shared<TRequestCommand>();
    AddChoice<TZnHTTPMethod>(*Request, "METHOD", Options->Method, Methods, "What to ask for");
    Request->get_option("METHOD")->required();
    AddUrlAndRun(*Request, Options, AExitCode);

    for (const char* const Name : {"get", "head", "post", "put", "delete", "options"}) {
        const auto Short = std::make_shared<TRequestCommand>();
        Short->Method = Methods.at(UpperCase(Name));
        Short->ShowHead = Short->Method == httpHEAD;
        Short->ListMethods = Short->Method == httpOPTIONS;
        CLI::App* const Command = AApp.add_subcommand(
            Name, Short->ListMethods ? "Print the methods that a server allows"
                                     : "Short for request " + std::string(ZnHTTPMethod[Short->Method]));
        AddUrlAndRun(*Command, Short, AExitCode);
    }
}

} // namespace Zn
