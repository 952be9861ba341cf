#include "tools/zn/request/Request.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "common/Text.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/PasswordPrompt.h"
#include "tools/zn/request/CertificateDialog.h"
#include "tools/zn/request/OutputStream.h"
#include "tools/zn/request/ProgressBar.h"
#include "uZnWinHTTP.h"
#include "uZnWinINet.h"

namespace Zn
{

namespace
{

constexpr int cFirstClientError = 400;
constexpr int cFirstServerError = 500;
constexpr std::int64_t cMaxCertificateSize = 1024 * 1024;

constexpr const char* cTextType = "text/plain; charset=utf-8";
constexpr const char* cFileType = "application/octet-stream";

constexpr std::array<std::uint32_t, 13> cTrustErrors{
    ERROR_WINHTTP_SECURE_CERT_DATE_INVALID,
    ERROR_WINHTTP_SECURE_CERT_CN_INVALID,
    ERROR_WINHTTP_CLIENT_AUTH_CERT_NEEDED,
    ERROR_WINHTTP_SECURE_INVALID_CA,
    INTERNET_SEC_CERT_ERRORS,
    ERROR_WINHTTP_SECURE_CERT_REV_FAILED,
    ERROR_WINHTTP_SECURE_CHANNEL_ERROR,
    ERROR_WINHTTP_SECURE_INVALID_CERT,
    ERROR_WINHTTP_SECURE_CERT_REVOKED,
    ERROR_WINHTTP_SECURE_FAILURE,
    ERROR_WINHTTP_SECURE_CERT_WRONG_USAGE,
    ERROR_WINHTTP_CLIENT_CERT_NO_PRIVATE_KEY,
    ERROR_WINHTTP_CLIENT_CERT_NO_ACCESS_PRIVATE_KEY,
};

/// The command asks for what can't be.
class EUsage : public Exception
{
public:
    using Exception::Exception;
};

/// "name:password"; a missing password comes from AVariable, else from the terminal.
void TakeCredentials(TZnCredentials& ACredentials, const std::string& AUser, const char* AVariable)
{
    if (AUser.empty())
        return;
    const std::size_t Colon = AUser.find(':');
    ACredentials.SetUserName(AUser.substr(0, Colon));
    if (Colon != std::string::npos) {
        ACredentials.SetPassword(AUser.substr(Colon + 1));
        return;
    }
    if (const char* const Given = std::getenv(AVariable)) {
        ACredentials.SetPassword(Given);
        return;
    }
    const auto Password = PromptForPassword("Password for " + AUser + ": ");
    if (!Password)
        throw EUsage(std::string("no password: give it behind a \":\", run it on a terminal, or set ") +
                     AVariable);
    ACredentials.SetPassword(*Password);
}

std::string ReadFile(const std::string& AName, std::int64_t AMaxSize)
{
    TFileStream File(AName, fmOpenRead);
    if (File.GetSize() > AMaxSize)
        throw EUsage("\"" + AName + "\" is too long to be a certificate");
    std::string Result(static_cast<std::size_t>(File.GetSize()), '\0');
    File.ReadBuffer(Result.data(), File.GetSize());
    return Result;
}

std::unique_ptr<TStream> ReadStandardInput()
{
    auto Result = std::make_unique<TMemoryStream>();
    std::array<char, 65536> Piece;
    while (const std::size_t Count = std::fread(Piece.data(), 1, Piece.size(), stdin))
        Result->WriteBuffer(Piece.data(), static_cast<std::int64_t>(Count));
    Result->SetPosition(0);
    return Result;
}

/// The body with its type where none was given.
struct TBody
{
    std::unique_ptr<TStream> Stream;
    std::string ContentType;
};

TBody MakeBody(const TRequestCommand& ACommand)
{
    if (!ACommand.Data)
        return {nullptr, ACommand.ContentType};
    if (ACommand.Method < httpPOST)
        throw EUsage(std::string(ZnHTTPMethod[ACommand.Method]) + " carries no data");
    const std::string& Data = *ACommand.Data;
    const bool FromFile = Data.starts_with('@');
    TBody Result{nullptr, ZnIf<std::string>(!ACommand.ContentType.empty(), ACommand.ContentType,
                                            FromFile ? cFileType : cTextType)};
    if (Data == "@-")
        Result.Stream = ReadStandardInput();
    else if (FromFile)
        Result.Stream = std::make_unique<TFileStream>(Data.substr(1), fmOpenRead);
    else
        Result.Stream = std::make_unique<TStringStream>(Data);
    return Result;
}

void AddHeaders(IZnHTTPRequest& ARequest, const std::vector<std::string>& AHeaders)
{
    for (const std::string& Header : AHeaders) {
        const std::size_t Colon = Header.find(':');
        if (Colon == std::string::npos)
            throw EUsage("a header reads \"Name: value\"");
        ARequest.AddHeader(Header.substr(0, Colon), ZnTrim(std::string_view(Header).substr(Colon + 1)));
    }
}

void Configure(TZnHTTPTransportClient& AClient, const TRequestCommand& ACommand)
{
    TakeCredentials(AClient.GetCredentials(), ACommand.User, "ZN_PASSWORD");
    TakeCredentials(AClient.GetProxyCredentials(), ACommand.ProxyUser, "ZN_PROXY_PASSWORD");
    AClient.SetAuthentication(ACommand.Authentication);
    if (ACommand.Authentication == authOAuth2)
        TakeOAuthOptions(AClient.GetOAuth(), ACommand.OAuth);
    AClient.SetRedirectPolicy(ACommand.Redirect);
    AClient.SetCookieHandling(ACommand.Cookies);
    AClient.SetSecurityFlags(ACommand.SecurityFlags);
    if (ACommand.TimeOut) {
        AClient.GetTimeOuts().SetConnectTimeOut(*ACommand.TimeOut);
        AClient.GetTimeOuts().SetSendTimeOut(*ACommand.TimeOut);
        AClient.GetTimeOuts().SetReceiveTimeOut(*ACommand.TimeOut);
    }
    TZnHTTPTransportSession& Session = AClient.GetTransportSession();
    Session.SetAuthoritiesFile(ACommand.AuthoritiesFile);
    if (ACommand.Proxy == "direct")
        Session.SetAccessType(atDirect);
    else
        Session.SetProxyServer(ACommand.Proxy);
    if (!ACommand.Certificate.empty()) {
        if (const char* const Password = std::getenv("ZN_CERT_PASSWORD"))
            AClient.SetClientCertificatePassword(Password);
        AClient.SetOnGetClientCertificate(
            [Certificate = ReadFile(ACommand.Certificate, cMaxCertificateSize)](auto& ASet) {
                ASet(Certificate.data(), static_cast<std::uint32_t>(Certificate.size()));
            });
    }
    // Here, and so behind the library's own: what the user asks for replaces it. The requests that get an
    // access token go to others.
    AClient.SetOnRequest([&ACommand](TObject*, const std::shared_ptr<IZnHTTPRequest>& ARequest) {
        if (ACommand.Authentication != authOAuth2 || ARequest->GetURL() == ACommand.Url)
            AddHeaders(*ARequest, ACommand.Headers);
    });
}

/// A deflated body is unfolded in memory, as what comes out of standard output can't be taken back.
void PrintBody(IZnHTTPResponse& AResponse, TStream& AOutput)
{
    if (!SameText(AResponse.GetHeader("Content-Encoding"), "deflate")) {
        AResponse.GetResponseData(AOutput);
        return;
    }
    TMemoryStream Body;
    AResponse.GetResponseData(Body);
    AOutput.WriteBuffer(Body.Memory(), Body.GetSize());
}

void PrintHead(IZnHTTPResponse& AResponse, TStream& AOutput)
{
    const std::string Head = AResponse.GetResponseHeaders().GetText() + "\r\n";
    AOutput.WriteBuffer(Head.data(), static_cast<std::int64_t>(Head.size()));
}

int CodeForStatus(const TZnHTTPStatus& AStatus)
{
    if (AStatus.StatusCode < cFirstClientError)
        return cExitOk;
    std::fprintf(stderr, "zn: %u %s\n", AStatus.StatusCode, AStatus.StatusMsg.c_str());
    return AStatus.StatusCode < cFirstServerError ? cExitClientError : cExitServerError;
}

/// The file is opened when there is something to write: a request that fails leaves an older one alone.
std::unique_ptr<TStream> OpenOutput(const TRequestCommand& ACommand)
{
    if (ACommand.OutputFile.empty())
        return std::make_unique<TOutputStream>();
    return std::make_unique<TFileStream>(ACommand.OutputFile, fmCreate);
}

int SendAndPrint(TZnHTTPTransportClient& AClient, const TRequestCommand& ACommand)
{
    const TBody Body = MakeBody(ACommand);
    const auto Response =
        AClient.Request(ACommand.Method, ACommand.Url, Body.Stream.get(), Body.ContentType, false);
    const auto Output = OpenOutput(ACommand);
    if (ACommand.ShowHead)
        PrintHead(*Response, *Output);
    {
        TProgressBar Bar;
        if (TProgressBar::Wanted(!ACommand.OutputFile.empty()))
            AClient.SetOnProgress([&Bar](TObject*, TStream*, std::int64_t APiece, std::int64_t ATotal) {
                Bar.Advance(APiece, ATotal);
            });
        PrintBody(*Response, *Output);
        AClient.SetOnProgress(nullptr);
    }
    return CodeForStatus(Response->GetStatus());
}

int PrintMethods(TZnHTTPTransportClient& AClient, const TRequestCommand& ACommand)
{
    TZnHTTPStatus Status;
    AClient.SetOnResponse([&Status](TObject*, const std::shared_ptr<IZnHTTPResponse>& AResponse) {
        Status = AResponse->GetStatus();
    });
    const TZnHTTPMethods Methods = AClient.Options(ACommand.Url, nullptr);
    for (std::size_t Index = 0; Index < ZnHTTPMethod.size(); ++Index) {
        if (Methods.Contains(static_cast<TZnHTTPMethod>(Index)))
            std::printf("%s\n", std::string(ZnHTTPMethod[Index]).c_str());
    }
    return CodeForStatus(Status);
}

/// The library's lines, each on a line of a terminal.
int Fail(int AExitCode, const std::string& AText)
{
    std::string Lines = AText;
    std::erase(Lines, '\r');
    std::fprintf(stderr, "zn: %s\n", Lines.c_str());
    return AExitCode;
}

int CodeForError(const EZnHTTPClientApiException& AError)
{
    const auto Code = static_cast<std::uint32_t>(AError.GetErrorCode());
    if (Code == ERROR_WINHTTP_NAME_NOT_RESOLVED)
        return cExitNoConnection;
    return std::ranges::find(cTrustErrors, Code) != cTrustErrors.end() ? cExitNotTrusted : cExitFailure;
}

int RunOn(TZnHTTPTransportClient& AClient, const TRequestCommand& ACommand)
{
    Configure(AClient, ACommand);
    return ACommand.ListMethods ? PrintMethods(AClient, ACommand) : SendAndPrint(AClient, ACommand);
}

/// With somebody at the terminal who may be asked about a certificate.
int RunAsking(TZnWinINetClient& AClient, const TRequestCommand& ACommand)
{
    if (!TCertificateDialog::IsPossible() || ACommand.Data == "@-")
        return RunOn(AClient, ACommand);
    const TCertificateDialog Dialog(AClient);
    try {
        return RunOn(AClient, ACommand);
    } catch (const EAbort&) {
        if (!Dialog.Refused())
            throw;
        return Fail(cExitNotTrusted, "The certificate was not accepted.");
    }
}

} // namespace

int RunRequest(const TRequestCommand& ACommand)
{
    try {
        if (ACommand.Transport == TTransport::WinHTTP) {
            TZnWinHTTPClient Client(nullptr);
            return RunOn(Client, ACommand);
        }
        TZnWinINetClient Client(nullptr);
        return RunAsking(Client, ACommand);
    } catch (const EUsage& Error) {
        return Fail(cExitUsage, Error.Message());
    } catch (const EInvalidArgument& Error) {
        return Fail(cExitUsage, Error.Message());
    } catch (const EZnHTTPInvalidArgument& Error) { // with OAuth, also what the token endpoint refuses with
        return Fail(ACommand.Authentication == authOAuth2 ? cExitFailure : cExitUsage, Error.Message());
    } catch (const EZnHTTPTimeOut& Error) {
        return Fail(cExitTimeOut, Error.Message());
    } catch (const EZnHTTPConnect& Error) {
        return Fail(cExitNoConnection, Error.Message());
    } catch (const EZnHTTPClientApiException& Error) {
        return Fail(CodeForError(Error), Error.Message());
    } catch (const std::exception& Error) {
        return Fail(cExitFailure, Error.what());
    }
}

} // namespace Zn
