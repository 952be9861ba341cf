#include "tools/zn/Serve.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "common/Exceptions.h"
#include "common/Streams.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/FormLogon.h"
#include "tools/zn/HandedSockets.h"
#include "tools/zn/Protection.h"
#include "tools/zn/Reload.h"
#include "tools/zn/ServeSignals.h"
#include "tools/zn/SiteServer.h"
#include "tools/zn/StaticFiles.h"
#include "uZnHTTPBase.h"

namespace Zn
{

namespace
{

/// "http(s)://host:port/path/" with its last slash; nothing for what can't be served.
std::optional<std::string> NormalizedBinding(const std::string& ABinding)
{
    try {
        const TZnURLData Url = ZnDecodeURL(ABinding.empty() ? "/" : ABinding);
        if ((Url.Scheme != "http" && Url.Scheme != "https") || !ABinding.starts_with("http") ||
            Url.Hostname.empty() || !Url.Username.empty() || !Url.QueryString.empty() ||
            !Url.Fragment.empty())
            return std::nullopt;
    } catch (const EInvalidArgument&) {
        return std::nullopt;
    }
    return ABinding.ends_with('/') ? ABinding : ABinding + "/";
}

int Fail(int AExitCode, const std::string& AText)
{
    std::fprintf(stderr, "zn serve: %s\n", AText.c_str());
    return AExitCode;
}

/// What went wrong when the server was switched on, in words that help.
std::string ExplainStart(const EZnException& AError, const std::vector<std::string>& ABindings)
{
    std::string Urls;
    for (const std::string& Binding : ABindings)
        Urls += (Urls.empty() ? "" : ", ") + Binding;
    switch (AError.GetErrorCode()) {
    case ERROR_SHARING_VIOLATION:
    case WSAEADDRINUSE:
        return "cannot listen at " + Urls + ": the port is taken by another program. " +
               "Choose another one, such as --bind http://localhost:8081/";
    case ERROR_ACCESS_DENIED:
    case WSAEACCES:
        return "cannot listen at " + Urls +
               ": this user may not open the port. Ports from 1024 on need no rights";
    case WSAEADDRNOTAVAIL:
        return "cannot listen at " + Urls + ": this computer has no such address";
    case ERROR_ALREADY_EXISTS:
        return "cannot listen at " + Urls + ": one of them is given twice";
    case ERROR_NO_SUCH_LOGON_SESSION:
        return "cannot serve https at " + Urls +
               ": there is no certificate with its key for the port. Give one with --cert and --key, or bind "
               "one with "
               "zn config sslcert add";
    default:
        return "cannot listen at " + Urls + ": " + AError.Message();
    }
}

std::string ReadText(const std::string& AFileName)
{
    TFileStream File(AFileName, fmOpenRead | fmShareDenyNone);
    std::string Text(static_cast<std::size_t>(File.GetSize()), '\0');
    File.ReadBuffer(Text.data(), static_cast<std::int64_t>(Text.size()));
    return Text;
}

/// The certificate of the command line, for each port with an https binding.
void UseCertificate(TSiteServer& AServer, const TServeOptions& AOptions)
{
    if (AOptions.CertificateFile.empty())
        return;
    TZnHTTPPortCertificate Certificate;
    Certificate.Certificate = ReadText(AOptions.CertificateFile);
    Certificate.Key = AOptions.KeyFile.empty() ? Certificate.Certificate : ReadText(AOptions.KeyFile);
    Certificate.AskForClientCertificate = !AOptions.ClientCAFile.empty();
    if (Certificate.AskForClientCertificate)
        Certificate.ClientAuthorities = ReadText(AOptions.ClientCAFile);
    for (const std::string& Url : AServer.GetBindings())
        if (const TZnURLData Data = ZnDecodeURL(Url); Data.Scheme == "https") {
            Certificate.Port = Data.Port;
            AServer.SetPortCertificate(Certificate);
        }
}

/// Whether the site would hand out a file: it lies below the folder and no name on the way there is hidden.
bool IsServed(const std::string& AFileName, const std::string& AFolder)
{
    const auto Path =
        std::filesystem::canonical(AFileName).lexically_relative(std::filesystem::canonical(AFolder));
    return std::none_of(Path.begin(), Path.end(),
                        [](const auto& AName) { return TSiteFolder::IsHidden(AName.string()); });
}

void RefuseServed(const std::string& AWhat, const std::string& AFileName, const std::string& AFolder)
{
    if (!AFileName.empty() && IsServed(AFileName, AFolder))
        throw Exception(AWhat + " would be served as well: keep " + AFileName + " outside of " + AFolder);
}

/// Who may see what, by the command line; nothing when everybody may see everything.
std::unique_ptr<TProtection> MakeProtection(const TServeOptions& AOptions)
{
    const bool IsByProvider = !AOptions.OpenID.ClientId.empty();
    if (AOptions.Auth.empty() && !IsByProvider)
        return nullptr;
    // Whoever has the hashes can log on by Digest.
    RefuseServed("the file of accounts", AOptions.UsersFile, AOptions.Folder);
    RefuseServed("the file with the client's secret", AOptions.OpenID.ClientSecretFile, AOptions.Folder);
    std::optional<TUserFile> Users;
    if (!AOptions.UsersFile.empty())
        Users.emplace(AOptions.UsersFile);
    std::unique_ptr<TProtection> Protection;
    if (IsByProvider)
        Protection = std::make_unique<TProtection>(Users ? &*Users : nullptr, AOptions.Protect);
    else
        Protection = std::make_unique<TProtection>(AOptions.Auth == "basic" ? authBasic : authDigest,
                                                   Users.value(), AOptions.Realm, AOptions.Protect);
    if (AOptions.Demo)
        Protection->AddPath("/demo/private");
    return Protection;
}

/// Lines for people unless a file or a format is given; combined in a file.
TAccessLog::TFormat FormatOf(const TServeOptions& AOptions)
{
    if (AOptions.LogFormat == "json")
        return &FormatJson;
    return AOptions.LogFormat.empty() && AOptions.AccessLog.empty() ? &FormatAccessLine : &FormatCombined;
}

/// Everything that can change behind a server that is active.
TReload MakeReload(TSiteServer& AServer, const TServeOptions& AOptions, const TProtection* AProtection,
                   const TAccessLog& ALog)
{
    TReload Reload;
    Reload.Add("access log", [&] { ALog.Reopen(); });
    if (!AOptions.CertificateFile.empty())
        Reload.Add("certificate", [&] { UseCertificate(AServer, AOptions); });
    if (AProtection && !AOptions.UsersFile.empty())
        Reload.Add("accounts",
                   [&AOptions, AProtection] { AProtection->Reload(TUserFile(AOptions.UsersFile)); });
    Reload.Add("configuration store", [&] { AServer.ReloadConfiguration(); });
    return Reload;
}

std::optional<TFileWatch> MakeWatch(const TServeOptions& AOptions)
{
    if (!AOptions.Watch)
        return std::nullopt;
    std::vector<std::string> Files;
    for (const std::string* const Each :
         {&AOptions.CertificateFile, &AOptions.KeyFile, &AOptions.ClientCAFile, &AOptions.UsersFile})
        if (!Each->empty())
            Files.push_back(*Each);
    return TFileWatch(std::move(Files));
}

/// Raises Exception that tells what can be limited.
void SetLimits(TSiteServer& AServer, const TServeOptions& AOptions)
{
    RequestBufferSize = AOptions.BufferSize;
    for (const std::string& Each : AOptions.Limits) {
        const std::size_t Equals = std::min(Each.find('='), Each.size());
        std::uint64_t Value = 0;
        const char* const End = Each.data() + Each.size();
        const char* const Start = Equals < Each.size() ? Each.data() + Equals + 1 : End;
        const auto [Stop, Error] = std::from_chars(Start, End, Value);
        if (Error != std::errc() || Stop != End)
            throw EInvalidArgument("--limit takes NAME=VALUE with a number, not \"" + Each + "\"");
        ZnSetHTTPServerLimit(AServer, Each.substr(0, Equals), Value);
    }
}

void TrustProxies(TSiteServer& AServer, const TServeOptions& AOptions)
{
    AServer.SetTrustedProxies(AOptions.TrustedProxies);
    AServer.SetForwardedFields(AOptions.ReadsForwarded ? ffForwarded : ffXForwarded);
    AServer.SetProxyProtocol(AOptions.ProxyProtocol);
}

std::vector<int> DescriptorsOf(const std::vector<TZnListenSocket>& ASockets)
{
    std::vector<int> Result;
    for (const TZnListenSocket& Each : ASockets)
        Result.push_back(Each.Fd);
    return Result;
}

void Stop(TSiteServer& AServer, const TServeOptions& AOptions)
{
    if (AOptions.DrainSeconds) {
        const TZnHTTPServerDrainResult Result = AServer.Drain(std::chrono::seconds(*AOptions.DrainSeconds));
        std::printf("Drained: %u requests ended, %u were cut.\n", Result.Ended, Result.Cut);
        std::fflush(stdout);
    }
    AServer.SetActive(false);
}

} // namespace

int RunServe(const TServeOptions& AOptions)
{
    HoldSignals();
    try {
        const TStaticFiles Files(AOptions.Folder,
                                 {.Deflate = AOptions.Deflate, .InlineStyle = AOptions.CSPLines.empty()});
        std::optional<TFileWatch> Watch = MakeWatch(AOptions); // before the files are read for the first time
        const std::unique_ptr<const TProtection> Protection = MakeProtection(AOptions);
        const TAccessLog Log(AOptions.AccessLog, FormatOf(AOptions));
        if (AOptions.AccessLog != "-")
            RefuseServed("the access log", AOptions.AccessLog, AOptions.Folder);
        TSiteServer Server(Files, Log, AOptions.Demo);
        if (Protection)
            Server.Protect(*Protection);
        Server.SetName("ZnServe");
        const std::vector<TZnListenSocket> Sockets = ZnTakeListenSockets();
        const std::vector<std::string> Bindings = BindingsFor(AOptions, Sockets);
        for (const std::string& Binding : Bindings) {
            const auto Url = NormalizedBinding(Binding);
            if (!Url)
                return Fail(cExitUsage,
                            "\"" + Binding +
                                "\" can't be served: --bind takes http://HOST:PORT/PATH/ or https://...");
            Server.AddBinding(*Url);
        }
        if (AOptions.Auth == "form")
            UseFormLogon(Server, AOptions.FormLogon, AOptions.Protect);
        std::optional<TOpenIDLogon> Provider;
        if (!AOptions.OpenID.ClientId.empty()) {
            const TFormLogonOptions Pages = PagesOf(Server, AOptions.FormLogon, AOptions.Protect);
            Server.SetLogoffUrl(Pages.LogoffUrl);
            Server.LogOnBy(Provider.emplace(Server, AOptions.OpenID, Pages.DefaultUrl));
        }
        UseCertificate(Server, AOptions);
        for (const std::string& Line : AOptions.CSPLines)
            Server.GetCSPDirectives().Add(Line);
        TrustProxies(Server, AOptions);
        SetLimits(Server, AOptions);
        if (!AOptions.MetricsPath.empty())
            Server.ShowMetricsAt(AOptions.MetricsPath);
        Server.SetListenSockets(DescriptorsOf(Sockets));
        Server.SetServerVersion(AOptions.VersionTwo ? HTTPServerV2 : HTTPServerV1);
        try {
            Server.SetActive(true);
        } catch (const EZnException& Error) {
            return Fail(cExitFailure, ExplainStart(Error, Bindings));
        }

        std::printf("Serving %s at\n", Files.Folder().Path().c_str());
        for (const std::string& Url : Server.GetBindings())
            std::printf("  %s\n", Url.c_str());
        std::printf("Press Ctrl+C to stop.\n");
        std::fflush(stdout);
        ZnNotifyServiceManager(TZnServiceState::Ready, "Serving " + Files.Folder().Path());

        WaitForStop(MakeReload(Server, AOptions, Protection.get(), Log), Watch ? &*Watch : nullptr);
        std::printf("Stopping.\n");
        std::fflush(stdout);
        ZnNotifyServiceManager(TZnServiceState::Stopping, "Letting requests end");
        Stop(Server, AOptions);
    } catch (const EInvalidArgument& Error) { // an option's value
        return Fail(cExitUsage, Error.Message());
    } catch (const Exception& Error) {
        return Fail(cExitFailure, Error.Message());
    }
    return cExitOk;
}

} // namespace Zn
