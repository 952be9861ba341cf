#pragma once

/// An HTTP client: one contract, whatever transport is behind it.
///
///     auto Client = std::make_shared<TZnHTTPClient>(true);
///     Client->GetRequestHeaders().SetAccept("application/json");
///     const auto Response = Client->Request(httpGET, "http://localhost:8080/", true);
///     std::cout << Response->GetResponse();
///
/// Where to begin: TZnHTTPClientBase (settings and events) and uZnHTTPClient/Contract.h (requests and
/// responses). The transports are in units of their own, uZnWinHTTP.h for one.

#include "uZnHTTPClient/ByteRange.h"
#include "uZnHTTPClient/CacheControl.h"
#include "uZnHTTPClient/ClientBase.h"
#include "uZnHTTPClient/ClientExceptions.h"
#include "uZnHTTPClient/Connections.h"
#include "uZnHTTPClient/Contract.h"
#include "uZnHTTPClient/HTTPClient.h"
#include "uZnHTTPClient/HTTPSession.h"
#include "uZnHTTPClient/HeaderList.h"
#include "uZnHTTPClient/RequestHandle.h"
#include "uZnHTTPClient/RequestHeaders.h"
#include "uZnHTTPClient/TimeOuts.h"
