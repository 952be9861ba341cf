#pragma once

/// The HTTP client on WinHTTP: what TZnHTTPClient(true) and TZnHTTPSession(true) make, and what an
/// application makes itself that wants no other. See uZnHTTPClient.h for the contract.
///
/// Where to begin: TZnWinHTTPClient, TZnWinHTTPSession; uZnWinHTTP/README.md tells how a request runs.

#include "uZnHTTPClient.h"
#include "uZnWinHTTP/Client.h"
#include "uZnWinHTTP/Session.h"
#include "uZnWinHTTPH.h"
