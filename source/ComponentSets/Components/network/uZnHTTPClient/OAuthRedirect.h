#pragma once

#include <memory>
#include <string>

#include "common/Events.h"
#include "common/ThreadAnnotations.h"
#include "platform/sync/Mutex.h"
#include "uZnHTTPClient/Contract.h"
#include "uZnHTTPClient/RedirectListener.h"

class TZnHTTPClientBase;

namespace Zn
{

/// The way to an authorization page and back: listens on the redirect address, shows the page in the
/// application's form or the user's browser, and takes what the browser brings.
///
/// Threads: one uses it; OnHit runs on the listener's.
class OAuthRedirect
{
public:
    /// Listens, and sees by a request of AClient that the address can be reached.
    explicit OAuthRedirect(TZnHTTPClientBase& AClient);
    ~OAuthRedirect();

    /// The query string that the browser came back with. Waits for the form to be closed, or 30 s for the
    /// browser: then raises EZnHTTPAuthenticationFailure.
    std::string Authorize(const std::string& AUrl);

private:
    std::string OnHit(const std::string& AQuery);
    void TestListener();
    void ShowForm(const std::shared_ptr<IZnHTTPOAuthAutorizeForm>& AForm, const std::string& AUrl);
    void ShowInBrowser(const std::string& AUrl);
    std::shared_ptr<IZnHTTPOAuthAutorizeForm> GetForm();
    void SetForm(std::shared_ptr<IZnHTTPOAuthAutorizeForm> AForm);

    TZnHTTPClientBase& FClient;
    TSimpleEvent FHit;
    Mutex FLock;
    std::string FQuery ZN_GUARDED_BY(FLock);
    std::shared_ptr<IZnHTTPOAuthAutorizeForm> FForm ZN_GUARDED_BY(FLock);
    std::unique_ptr<RedirectListener> FListener; // last: its threads touch what stands above
};

} // namespace Zn
