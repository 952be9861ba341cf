#include <memory>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/Serve.h"
#include "uZnHTTPServer.h"

namespace Zn
{

namespace
{

void AddProviderOptions(CLI::App& ACommand, TOpenIDOptions& AOptions, CLI::Option& AAuth)
{
    CLI::Option* const Client =
        ACommand
            .add_option("--oidc-client-id", AOptions.ClientId,
                        "Let an OpenID Connect provider log visitors on; it knows this site by that name")
            ->type_name("ID")
            ->excludes(&AAuth);
    const auto Add = [&](const char* AName, std::string& AUrl, const char* AHelp) {
        CLI::Option* const Option = ACommand.add_option(AName, AUrl, AHelp)->type_name("URL");
        Option->needs(Client);
        return Option;
    };
    Client->needs(Add("--oidc-discovery", AOptions.DiscoveryUrl,
                      "The provider's .well-known/openid-configuration, which leads to its keys"));
    Client->needs(Add("--oidc-authorize", AOptions.AuthorizeUrl, "The provider's authorization endpoint"));
    Client->needs(Add("--oidc-redirect", AOptions.RedirectUri,
                      "Where the provider sends visitors back to: a folder or page of this site, as it is "
                      "registered there"));
    Add("--oidc-issuer", AOptions.Issuer, "Take the tokens of this issuer only");
    Add("--oidc-token", AOptions.TokenUrl,
        "The provider's token endpoint: use the code flow (default: the implicit flow)");
    ACommand
        .add_option("--oidc-client-secret-file", AOptions.ClientSecretFile,
                    "File with the secret for the code flow (default: ZN_OIDC_CLIENT_SECRET)")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->needs(Client);
}

/// What is for any kind of logon makes no sense without one.
void CheckLogonOptions(const CLI::App& ACommand)
{
    if (ACommand.count("--auth") + ACommand.count("--oidc-client-id") > 0)
        return;
    for (const char* const Name : {"--users", "--protect", "--logoff-url", "--default-url"})
        if (ACommand.count(Name) > 0)
            throw CLI::RequiresError(Name, "--auth or --oidc-client-id");
}

} // namespace

void AddServeCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* Command = AApp.add_subcommand("serve", "Serve a folder over HTTP");
    const auto Options = std::make_shared<TServeOptions>();
    Command->footer("Serves until Ctrl+C. One line per request goes to standard error, or to --access-log.");

    Command->add_option("DIR", Options->Folder, "Folder to serve")
        ->capture_default_str()
        ->check(CLI::ExistingDirectory);
    Command->add_option("--bind", Options->Bindings, "URL to serve it at; may be repeated")
        ->type_name("URL")
        ->allow_extra_args(false) // one value each time: what follows is DIR
        ->capture_default_str();
    Command->add_flag("--v2", Options->VersionTwo,
                      "Use version 2 of the HTTP service (named queue of length 10)");
    Command->add_flag("--deflate", Options->Deflate, "Compress small text files for clients that take it");
    Command->add_option("--csp", Options->CSPLines, "Content-Security-Policy to send; may be repeated")
        ->type_name("LINE")
        ->allow_extra_args(false);
    Command->add_option("--buffer", Options->BufferSize, "Room for one request's head, in bytes")
        ->type_name("BYTES")
        ->check(CLI::Range(1024, 1 << 20))
        ->capture_default_str();
    CLI::Option* const Certificate = Command
                                         ->add_option("--cert", Options->CertificateFile,
                                                      "PEM file with the certificate for https bindings")
                                         ->type_name("FILE")
                                         ->check(CLI::ExistingFile);
    Command->add_option("--key", Options->KeyFile, "PEM file with its key (default: in the same file)")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->needs(Certificate);
    Command
        ->add_option("--client-ca", Options->ClientCAFile,
                     "Ask clients for certificates of these authorities")
        ->type_name("FILE")
        ->check(CLI::ExistingFile)
        ->needs(Certificate);
    CLI::Option* const Auth =
        Command->add_option("--auth", Options->Auth, "Ask for a logon: basic, digest or form")
            ->type_name("SCHEME")
            ->check(CLI::IsMember({"basic", "digest", "form"}));
    CLI::Option* const Users =
        Command->add_option("--users", Options->UsersFile, "File of accounts; see zn users add")
            ->type_name("FILE")
            ->check(CLI::ExistingFile);
    Auth->needs(Users);
    Command->add_option("--realm", Options->Realm, "Which of them (default: the realm of the first one)")
        ->needs(Auth);
    Command
        ->add_option("--protect", Options->Protect,
                     "Path that needs a logon, with all below it; may be repeated (default: /)")
        ->type_name("PATH")
        ->allow_extra_args(false);
    const auto AddFormUrl = [&](const char* AName, std::string& AUrl, const char* AHelp) {
        return Command->add_option(AName, AUrl, AHelp)->type_name("PATH");
    };
    AddFormUrl("--logon-url", Options->FormLogon.LogonUrl,
               "With --auth form: page that posts userName and password to itself (default: logon.html of "
               "the binding)")
        ->needs(Auth);
    AddFormUrl(
        "--logoff-url", Options->FormLogon.LogoffUrl,
        "With --auth form or a provider: page that ends a session (default: logoff.html of the binding)");
    AddFormUrl("--default-url", Options->FormLogon.DefaultUrl,
               "With --auth form or a provider: where visitors of the logon page, and who comes from the "
               "provider, begin (default: the first protected path)");
    CLI::Option* const Proxy =
        Command
            ->add_option("--trusted-proxy", Options->TrustedProxies,
                         "Believe this proxy about its clients: address or range; may be repeated")
            ->type_name("CIDR")
            ->allow_extra_args(false);
    Command
        ->add_flag("--forwarded", Options->ReadsForwarded,
                   "Trusted proxies write Forwarded (default: X-Forwarded-For, -Proto and -Host)")
        ->needs(Proxy);
    Command
        ->add_flag("--proxy-protocol", Options->ProxyProtocol,
                   "Connections of trusted proxies begin with a PROXY header, version 1 or 2")
        ->needs(Proxy);
    Command
        ->add_option("--access-log", Options->AccessLog, "File for a line per request; - is standard output")
        ->type_name("FILE");
    Command
        ->add_option("--log-format", Options->LogFormat,
                     "What the lines look like: combined or json (default: combined with --access-log)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"combined", "json"}));
    std::string Names;
    for (const TZnHTTPServerLimit& Each : ZnHTTPServerLimits())
        Names += (Names.empty() ? "" : ", ") + std::string(Each.Name);
    Command->add_option("--limit", Options->Limits, "A limit: " + Names + "; may be repeated")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    Command
        ->add_option("--metrics", Options->MetricsPath,
                     "Path below the bindings that shows counters and timings for Prometheus")
        ->type_name("URL-PATH")
        ->check([](const std::string& APath) {
            return APath.size() > 1 && APath.starts_with('/') &&
                           APath.find_first_of("?#% ") == std::string::npos
                       ? std::string()
                       : "a path begins with \"/\" and has no query or escapes";
        });
    Command->add_flag("--watch", Options->Watch,
                      "Reload, as on SIGHUP, when the files of --cert, --key, --client-ca or --users change");
    Command
        ->add_option("--drain", Options->DrainSeconds,
                     "At the stop, let requests that have begun end within this time")
        ->type_name("SECONDS")
        ->check(CLI::Range(0, 86400));
    AddProviderOptions(*Command, Options->OpenID, *Auth);
    Command->add_flag("--demo", Options->Demo, "Add handlers that show the server below /demo/");

    Command->callback([Options, Command, &AExitCode] {
        CheckLogonOptions(*Command);
        Options->HasOwnBindings = Command->count("--bind") > 0;
        AExitCode = RunServe(*Options);
    });
}

} // namespace Zn
