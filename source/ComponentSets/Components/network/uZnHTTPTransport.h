#pragma once

/// What the transports of the HTTP client (uZnWinHTTP, uZnWinINet) have in common. Applications include a
/// transport's header; uZnHTTPTransport/README.md tells what a transport adds.

#include "uZnHTTPClient.h"
#include "uZnHTTPTransport/Client.h"
#include "uZnHTTPTransport/Session.h"
