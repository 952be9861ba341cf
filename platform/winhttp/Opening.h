#pragma once

/// How both function sets make sessions, connections and requests, and close them.

#include "platform/httpclient/RequestFields.h"
#include "platform/winhttp/Calls.h"

namespace Zn::Winhttp
{

/// The arguments of a function that opens a session.
struct SessionParts
{
    const char16_t* UserAgent;
    std::uint32_t AccessType; // WINHTTP_ACCESS_TYPE_*
    const char16_t* Proxy;
    const char16_t* Bypass;
    bool Async;
};

/// The arguments of a function that opens a request.
struct RequestParts
{
    const char16_t* Verb;
    const char16_t* ObjectName;
    const char16_t* Version;
    const char16_t* Referrer;
    const char16_t* const* AcceptTypes;
    HttpClient::TargetEscapes Escapes;
    bool Secure;
    bool NoCache; // "Pragma: no-cache"
};

// Each gives 0 and the object, or the number of what doesn't fit.
std::uint32_t MakeSession(const SessionParts& AParts, std::shared_ptr<HttpClient::Session>& AResult);
std::uint32_t MakeConnection(HINTERNET ASession, const char16_t* AServerName, INTERNET_PORT APort,
                             std::shared_ptr<HttpClient::Connection>& AResult);
std::uint32_t MakeRequest(HINTERNET AConnection, const RequestParts& AParts,
                          std::shared_ptr<HttpClient::Request>& AResult);

/// Gives an object its handle.
std::uint32_t Publish(std::shared_ptr<KernelObject> AObject, HINTERNET& AHandle);
/// Closes a handle of one of the three kinds; 6 for any other.
std::uint32_t CloseOwn(HINTERNET AHandle);

/// WINHTTP_ADDREQ_FLAG_* in the engine's words.
HttpClient::FieldChange ChangeFor(std::uint32_t AModifiers);

} // namespace Zn::Winhttp
