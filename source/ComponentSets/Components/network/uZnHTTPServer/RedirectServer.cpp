// The server's part in OAuth: the address that a browser is sent back to.

#include "uZnHTTPServer/RedirectServer.h"

#include <chrono>

#include "common/System.h"
#include "platform/errors/Errors.h"
#include "uZnHTTPClient.h"
#include "uZnHTTPClient/RedirectListener.h"
#include "uZnHTTPServer/ConfigurationLists.h"

namespace
{

constexpr std::int32_t cBrowserHead = 8192; // bytes
constexpr std::chrono::seconds cFarewell{2};
constexpr const char* cLoopback = "127.0.0.1";

void AnswerWithPage(TZnHTTPServerResponse& AResponse, std::string APage)
{
    AResponse.SetStatusCode(200);
    AResponse.SetStatusDescription("OK");
    AResponse.SetContentType("text/html");
    AResponse.SetResponseType(rtText);
    AResponse.SetResponseText(std::move(APage));
}

class ServedRedirect final : public Zn::RedirectListener
{
public:
    ServedRedirect(const std::string& APrefix, Zn::RedirectHit AOnHit) : FOnHit(std::move(AOnHit))
    {
        FServer.SetOnResponse(
            [this](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse) {
                AnswerWithPage(AResponse, FOnHit(ARequest->UrlData.QueryString));
            });
        FServer.ServeOn(APrefix);
    }
    /// The hit that ends the wait is told before its page has left: the browser still gets that.
    ~ServedRedirect() override
    {
        try {
            FServer.Drain(cFarewell);
        } catch (const Exception&) { // it is stopped all the same, below
        }
    }

private:
    Zn::RedirectHit FOnHit;
    TZnRedirectServer FServer{nullptr};
};

void TestRedirect(const std::string& AUrl)
{
    TZnRedirectServer Server(nullptr);
    Server.ServeOn(Zn::RedirectPrefix(
        AUrl, "No URL Specified!",
        "The OAuth redirect URI must start with \"http://localhost:\"! or \"http://127.0.0.1:\"!"));
    const auto Client = std::make_shared<TZnHTTPClient>(false);
    if (Client->Request(httpGET, AUrl + "?test", false)->GetStatus().StatusCode != 200)
        throw EZnHTTPAuthenticationFailure(authOAuth2, "Failed to start the local redirect service!", 401);
}

} // namespace

TZnRedirectServer::TZnRedirectServer(TComponent* AOwner) : TZnHTTPServer(AOwner)
{
    SetOnResponse([](TZnCustomHTTPServer&, PZnHTTPServerRequest, TZnHTTPServerResponse& AResponse) {
        AnswerWithPage(AResponse, "<html><body>OK</body></html>");
    });
}

TZnRedirectServer::~TZnRedirectServer()
{
    SetActive(false);
}

void TZnRedirectServer::ServeOn(const std::string& APrefix)
{
    RequestBufferSize = std::max(RequestBufferSize, cBrowserHead);
    // Not the server's first line as well: its port may be somebody else's, and a logon should not fail for
    // that.
    SetBindings({APrefix});
    SetActive(true);
}

bool TZnOAuth::TestRedirectURL(const std::string& AURL, std::string& AMessage)
{
    AMessage.clear();
    try {
        TestRedirect(AURL);
        AMessage = "\"" + AURL + "\" can be used as an OAuth Redirect URI.";
        return true;
    } catch (const EZnHTTPException& E) {
        AMessage = E.Message();
        if (E.GetErrorCode() == static_cast<int>(ERROR_ACCESS_DENIED))
            AMessage += "\r\nTry a different port!";
    } catch (const std::exception& E) {
        AMessage = E.what();
    }
    return false;
}

void TZnOAuth::RegisterLocalhost()
{
    if (ZnGetElevationLevel() != elElevated)
        throw Exception(
            "127.0.0.1 can only be added to the \"IP Listen List\" from a process which has elevated "
            "access!");
    TZnHTTPServerConfiguration Configuration(nullptr);
    TZnHTTPServerIPListenList& List = Configuration.GetIPListenList();
    if (List.IndexOf(cLoopback) == -1)
        List.Add(cLoopback);
}

/// The symbol that keeps this file in every program that links the unit.
extern "C" bool ZnRedirectListenerRegistered;
bool ZnRedirectListenerRegistered =
    (Zn::RegisterRedirectListener([](const std::string& APrefix, Zn::RedirectHit AOnHit) {
         return std::unique_ptr<Zn::RedirectListener>(
             std::make_unique<ServedRedirect>(APrefix, std::move(AOnHit)));
     }),
     true);
