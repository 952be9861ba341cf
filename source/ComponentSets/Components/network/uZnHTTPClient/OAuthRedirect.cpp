#include "uZnHTTPClient/OAuthRedirect.h"

#include <atomic>
#include <utility>

#include "common/Exceptions.h"
#include "common/System.h"
#include "common/Text.h"
#include "uZnHTTPClient/ClientBase.h"

namespace Zn
{
namespace
{

constexpr std::uint32_t cBrowserWait = 30'000; // ms
constexpr const char* cTest = "test";

/// The answer of an implicit grant comes in the fragment, which no server gets to see: the page asks again
/// with the fragment as its query.
constexpr std::string_view cPageScript = "<script>\r\n"
                                         "  let l\r\n"
                                         "  l = window.location.href\r\n"
                                         "  if (l.indexOf(\"#\") == -1) {\r\n"
                                         "    window.close()\r\n"
                                         "  } else {\r\n"
                                         "    window.location.href = l.replace(\"#\", \"?\")\r\n"
                                         "  }\r\n"
                                         "</script>";

constinit std::atomic<RedirectListenerFactory> Factory{nullptr};

} // namespace

void RegisterRedirectListener(RedirectListenerFactory AFactory)
{
    Factory = AFactory;
}

std::unique_ptr<RedirectListener> Listen(const std::string& APrefix, RedirectHit AOnHit)
{
    const RedirectListenerFactory Make = Factory;
    if (Make == nullptr)
        throw EZnHTTPInvalidArgument(
            "The HTTP server (uZnHTTPServer), which waits for the browser, isn't part of this "
            "program!");
    return Make(APrefix, std::move(AOnHit));
}

std::string RedirectPrefix(const std::string& AUri, const std::string& AEmpty, const std::string& ANotLocal)
{
    if (AUri.empty())
        throw Exception(AEmpty);
    if (!StartsText("http://localhost:", AUri) && !StartsText("http://127.0.0.1:", AUri))
        throw Exception(ANotLocal);
    if (AUri.ends_with('/'))
        throw Exception("The OAuth redirect may not end with \"/\"!");
    const std::string Prefix = AUri.substr(0, AUri.rfind('/') + 1);
    // "http://localhost:8400" has no path: what is left of it is no address.
    return Prefix.ends_with("//") ? AUri + "/" : Prefix;
}

OAuthRedirect::OAuthRedirect(TZnHTTPClientBase& AClient)
    : FClient(AClient),
      FListener(Listen(RedirectPrefix(AClient.GetOAuth().GetRedirectURI(), "The OAuth redirect is mandatory!",
                                      "The OAuth redirect URI must start with \"http://localhost:\"!"),
                       [this](const std::string& AQuery) { return OnHit(AQuery); }))
{
    TestListener();
}

OAuthRedirect::~OAuthRedirect() = default;

void OAuthRedirect::TestListener()
{
    const std::string Url = FClient.GetOAuth().GetRedirectURI() + "?" + cTest;
    if (FClient.Request(httpGET, Url, false)->GetStatus().StatusCode != 200)
        throw EZnHTTPAuthenticationFailure(authOAuth2, "Failed to start the local redirect service!", 401);
    FHit.ResetEvent();
}

std::string OAuthRedirect::Authorize(const std::string& AUrl)
{
    const auto Form = ZnOnGetOAuthAuthorizeForm ? ZnOnGetOAuthAuthorizeForm() : nullptr;
    if (Form)
        ShowForm(Form, AUrl);
    else
        ShowInBrowser(AUrl);
    FListener.reset();
    const MutexLock Guard(FLock);
    return FQuery;
}

void OAuthRedirect::ShowForm(const std::shared_ptr<IZnHTTPOAuthAutorizeForm>& AForm, const std::string& AUrl)
{
    SetForm(AForm);
    const auto Close = [&] {
        SetForm(nullptr);
        AForm->Close();
    };
    try {
        AForm->Authorize(AUrl);
    } catch (...) {
        Close();
        throw;
    }
    Close();
}

void OAuthRedirect::ShowInBrowser(const std::string& AUrl)
{
    ZnShellExecOpenWebSite(AUrl); // where there is no browser to open, somebody may have the URL from a log
    if (FHit.WaitFor(cBrowserWait) != wrSignaled)
        throw EZnHTTPAuthenticationFailure(
            authOAuth2, "Failed to get an access token withing the specified timeout!", 401);
}

/// Gives the page; an answer that is more than a hit ends the wait, the first one counts.
std::string OAuthRedirect::OnHit(const std::string& AQuery)
{
    const auto Form = GetForm();
    if (!AQuery.empty()) {
        if (AQuery != cTest) {
            const MutexLock Guard(FLock);
            if (FQuery.empty())
                FQuery = AQuery;
        }
        FHit.SetEvent();
        if (Form)
            Form->Close();
    }
    return "<html><body>" + FClient.GetOAuth().GetSuccessMessage().GetText() +
           (Form ? std::string() : std::string(cPageScript)) + "</body></html>";
}

std::shared_ptr<IZnHTTPOAuthAutorizeForm> OAuthRedirect::GetForm()
{
    const MutexLock Guard(FLock);
    return FForm;
}

void OAuthRedirect::SetForm(std::shared_ptr<IZnHTTPOAuthAutorizeForm> AForm)
{
    const MutexLock Guard(FLock);
    FForm = std::move(AForm);
}

} // namespace Zn
