#pragma once

/// An HTTP server as a component: set Bindings and a handler, set Active, answer requests on
/// worker threads, clear Active. See TZnHTTPServer in uZnHTTPServer/Server.h, where to begin, and
/// the folder's README.md for who calls whom.
///
///     TZnHTTPServer Server(nullptr);
///     Server.SetBindings({"http://localhost:8080/"});
///     Server.SetOnResponse([](auto&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse) {
///         AResponse.SetContentType("text/plain");
///         AResponse.SetResponseText("You asked for " + ARequest->UrlData.FilePath);
///     });
///     Server.SetActive(true);

#include "uZnHTTPServer/AcceptLanguage.h"
#include "uZnHTTPServer/AuthExceptions.h"
#include "uZnHTTPServer/AuthMonitor.h"
#include "uZnHTTPServer/AuthToken.h"
#include "uZnHTTPServer/AuthTokenManager.h"
#include "uZnHTTPServer/AuthTokens.h"
#include "uZnHTTPServer/BodyContent.h"
#include "uZnHTTPServer/CertificateStore.h"
#include "uZnHTTPServer/ConfigurationLists.h"
#include "uZnHTTPServer/CurrentExchange.h"
#include "uZnHTTPServer/Failures.h"
#include "uZnHTTPServer/JWT.h"
#include "uZnHTTPServer/ListenThread.h"
#include "uZnHTTPServer/OAuthToken.h"
#include "uZnHTTPServer/OpenIDConnect.h"
#include "uZnHTTPServer/RandomToken.h"
#include "uZnHTTPServer/RedirectServer.h"
#include "uZnHTTPServer/Request.h"
#include "uZnHTTPServer/Response.h"
#include "uZnHTTPServer/Server.h"
#include "uZnHTTPServer/ServerLimits.h"
#include "uZnHTTPServer/ServiceManager.h"
#include "uZnHTTPServer/Worker.h"
