/// Greets who has logged on at an OpenID Connect provider, by the implicit flow.
///
///     build/bin/oidc-server CLIENT-ID https://PROVIDER/.well-known/openid-configuration
///     https://PROVIDER/authorize
///
/// At the provider the client has the redirect URI http://localhost:8080/hello/ and the response type
/// id_token. Then open http://localhost:8080/hello/ in a browser.

#include <csignal>
#include <cstdio>

#include "uZnHTTPServer.h"

namespace
{

constexpr const char* cPage = "http://localhost:8080/hello/";

void Greet(PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse)
{
    // Only this makes a page private: the library finds out who asks, and sends strangers to the provider.
    if (ARequest->AuthenticationType == authNone)
        throw EZnHTTPAuthenticationFailure(authOAuth2, "Log on to be greeted.", 401);

    // The provider's answer, a post, comes here as well, by somebody who is known now.
    AResponse.SetContentType("text/plain; charset=utf-8");
    AResponse.SetResponseText("Hello " + ARequest->LogonName + ", you are here as " + ARequest->RoleName +
                              ".\n");
}

} // namespace

int main(int AArgumentCount, char** AArguments)
{
    if (AArgumentCount != 4) {
        std::fprintf(stderr, "oidc-server CLIENT-ID DISCOVERY-URL AUTHORIZE-URL\n");
        return 2;
    }
    sigset_t Stop;
    sigemptyset(&Stop);
    sigaddset(&Stop, SIGINT);
    sigaddset(&Stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &Stop, nullptr);

    try {
        TZnHTTPServer Server(nullptr);
        Server.SetBindings({cPage});
        Server.SetOnResponse([](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest,
                                TZnHTTPServerResponse& AResponse) { Greet(ARequest, AResponse); });

        TZnHTTPServerOIDC& Provider = Server.GetOpenIDConnect();
        Provider.SetClientId(AArguments[1]);
        Provider.SetDiscoveryUrl(AArguments[2]);
        Provider.AddRedirectUri(cPage);
        // Off by default, since providers differ; without them a token for somebody else's site would do.
        TZnOpenIDChecks Checks;
        Checks.Audience = Checks.Times = Checks.Nonce = Checks.RefetchKeys = true;
        Provider.SetChecks(Checks);

        // Whose token names no role: a guest.
        Server.SetOnGetStoredPassword([](TZnCustomHTTPServer&, TZnHTTPAuthentication AScheme,
                                         const std::string&, std::string&, std::string&, std::string&,
                                         TDateTime&) { return AScheme == authOAuth2; });
        RequestBufferSize = 16384;         // browsers send more than the default has room for
        Server.SetLogonUrl(AArguments[3]); // now the keys are fetched
        Server.SetActive(true);
        std::printf("Open %s; Ctrl+C ends.\n", cPage);

        int Signal = 0;
        sigwait(&Stop, &Signal);
        Server.SetActive(false);
    } catch (const Exception& Error) {
        std::fprintf(stderr, "%s\n", Error.Message().c_str());
        return 1;
    }
    return 0;
}
