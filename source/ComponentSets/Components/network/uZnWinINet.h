#pragma once

/// The HTTP client on WinINet: what TZnHTTPClient(false) and TZnHTTPSession(false) make, for programs that
/// somebody sits in front of. See uZnHTTPClient.h for the contract.
///
/// Where to begin: TZnWinINetClient, TZnWinINetSession; uZnWinINet/README.md tells how a request runs.

#include "uZnHTTPClient.h"
#include "uZnWinINet/Client.h"
#include "uZnWinINet/Session.h"
#include "uZnWinINetH.h"
