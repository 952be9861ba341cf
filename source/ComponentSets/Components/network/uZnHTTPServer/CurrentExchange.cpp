#include "uZnHTTPServer/CurrentExchange.h"

namespace
{

thread_local PZnHTTPServerRequest ThreadRequest = nullptr;
thread_local TZnHTTPServerResponse* ThreadResponse = nullptr;

} // namespace

PZnHTTPServerRequest HTTPRequest()
{
    return ThreadRequest;
}

TZnHTTPServerResponse* HTTPResponse()
{
    return ThreadResponse;
}

namespace Zn
{

void InitThreadVars()
{
    ThreadRequest = nullptr;
    ThreadResponse = nullptr;
}

CurrentRequest::CurrentRequest(PZnHTTPServerRequest ARequest)
{
    ThreadRequest = ARequest;
}

CurrentRequest::~CurrentRequest()
{
    ThreadRequest = nullptr;
}

CurrentResponse::CurrentResponse(TZnHTTPServerResponse* AResponse)
{
    ThreadResponse = AResponse;
}

CurrentResponse::~CurrentResponse()
{
    ThreadResponse = nullptr;
}

} // namespace Zn
