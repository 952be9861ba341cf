#pragma once

#include "platform/Api.h"
#include "uZnHTTPServer/Request.h"
#include "uZnHTTPServer/Response.h"

/// The request that the calling thread is just answering and its response, for code far from the
/// handler. nullptr on any other thread, and for OnResponseRaw.
ZN_API PZnHTTPServerRequest HTTPRequest();
/// The response that the calling worker fills just now; nullptr on any other thread.
ZN_API TZnHTTPServerResponse* HTTPResponse();

namespace Zn
{

/// Sets both of the calling thread to nil.
void InitThreadVars();

/// Makes a request or response the thread's current one for a scope.
class CurrentRequest
{
public:
    explicit CurrentRequest(PZnHTTPServerRequest ARequest);
    ~CurrentRequest();
    CurrentRequest(const CurrentRequest&) = delete;
    CurrentRequest& operator=(const CurrentRequest&) = delete;
};

class CurrentResponse
{
public:
    explicit CurrentResponse(TZnHTTPServerResponse* AResponse);
    ~CurrentResponse();
    CurrentResponse(const CurrentResponse&) = delete;
    CurrentResponse& operator=(const CurrentResponse&) = delete;
};

} // namespace Zn
