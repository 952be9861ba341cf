// This library's server, as an application would write it.

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "benchmarks/http/servers/Common.h"
#include "uZnHTTPServer.h"

using namespace Zn::Bench;

namespace
{

constexpr std::size_t cTextTo = 16 * 1024; // longer bodies are sent from where they lie

void SendBody(TZnHTTPServerResponse& AResponse, const TSite::TBody& ABody)
{
    AResponse.SetContentType(std::string(ABody.ContentType));
    if (ABody.Bytes.size() <= cTextTo) {
        AResponse.SetResponseText(ABody.Bytes);
    } else {
        AResponse.SetResponseBuffer(ABody.Bytes.data());
        AResponse.SetResponseBufSize(static_cast<std::uint32_t>(ABody.Bytes.size()));
    }
}

void SendFile(TZnHTTPServerResponse& AResponse, const std::string& APath)
{
    AResponse.SetContentType(std::string(cBytes));
    AResponse.SetResponseFileName(APath);
}

void SendEcho(TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    std::shared_ptr<IZnBodyContent> body;
    AResponse.SetContentType(std::string(cBytes));
    if (ARequest.GetBody(body))
        AResponse.SetResponseStream(body->AsStream(true)); // the request holds it until the answer is out
}

void SendUploadSize(TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    std::shared_ptr<IZnBodyContent> body;
    const std::int64_t size = ARequest.GetBody(body) ? body->GetSize() : 0;
    AResponse.SetContentType(std::string(cText));
    AResponse.SetResponseText(std::to_string(size));
}

void TellCaller(const TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    if (ARequest.AuthenticationType == authNone && !ARequest.UrlData.FilePath.ends_with("/who"))
        throw EZnHTTPAuthenticationFailure(authBasic, "Log on.", 401);
    AResponse.SetResponseText(ARequest.LogonName);
}

void Answer(const TSite& ASite, TZnHTTPServerRequest& ARequest, TZnHTTPServerResponse& AResponse)
{
    const std::string& target = ARequest.UrlData.FilePath;
    if (const TSite::TBody* const body = ASite.Find(target))
        SendBody(AResponse, *body);
    else if (const std::string file = ASite.FileFor(target); !file.empty())
        SendFile(AResponse, file);
    else if (target == "/echo")
        SendEcho(ARequest, AResponse);
    else if (target == "/upload")
        SendUploadSize(ARequest, AResponse);
    else if (target == "/who" || target == "/who.htm")
        TellCaller(ARequest, AResponse);
    else
        throw EZnHTTPException("There is no such target.", 404);
}

/// One account, for requests of a caller who has logged on.
void UseAccount(TZnCustomHTTPServer& AServer)
{
    AServer.SetAuthenticationRealm("bench");
    AServer.SetLogonUrl("/logon.htm");
    AServer.SetOnGetStoredPassword([Hash = AServer.CalculatePasswordHash("bench", "open sesame", {})](
                                       TZnCustomHTTPServer&, TZnHTTPAuthentication, const std::string& AUser,
                                       std::string& AHash, std::string& ARole, std::string&, TDateTime&) {
        AHash = Hash;
        ARole = "User";
        return AUser == "bench";
    });
}

/// https where the environment names a PEM file with certificate and key.
bool UseCertificate(TZnCustomHTTPServer& AServer, std::uint16_t APort)
{
    const char* const file = std::getenv("BENCH_CERTIFICATE");
    if (file == nullptr)
        return false;
    std::ifstream in(file);
    const std::string pem{std::istreambuf_iterator<char>(in), {}};
    AServer.SetPortCertificate({APort, pem, pem, false, {}});
    return true;
}

/// As many workers as the peers have threads.
class TBenchServer : public TZnHTTPServer
{
public:
    TBenchServer() : TZnHTTPServer(nullptr) { FMaxWorkerThreadCnt = 300; }
};

} // namespace

int main(int argc, char** argv)
{
    BlockEndSignals();
    const TArguments arguments = TArguments::Read(argc, argv);
    const TSite site(arguments.Folder);

    TBenchServer server;
    const bool secure = UseCertificate(server, arguments.Port);
    server.SetBindings(
        {(secure ? "https" : "http") + ("://127.0.0.1:" + std::to_string(arguments.Port)) + "/"});
    server.SetOnResponse([&site](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest,
                                 TZnHTTPServerResponse& AResponse) { Answer(site, *ARequest, AResponse); });
    UseAccount(server);
    server.SetActive(true);
    WaitForEnd();
    server.SetActive(false);
}
