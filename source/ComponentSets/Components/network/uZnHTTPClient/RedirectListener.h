#pragma once

#include <functional>
#include <memory>
#include <string>

namespace Zn
{

/// Serves the address that an authorization page sends the browser back to, for as long as it lives.
class RedirectListener
{
public:
    virtual ~RedirectListener() = default;
};

/// Told of each request, with the query string of its URL as it came; gives the page. On a server's thread.
using RedirectHit = std::function<std::string(const std::string& AQuery)>;

/// APrefix is a URL prefix to bind, such as "http://localhost:8400/". Raises what the server raises.
using RedirectListenerFactory = std::unique_ptr<RedirectListener> (*)(const std::string& APrefix,
                                                                      RedirectHit AOnHit);

/// The client knows no server: uZnHTTPServer registers one before main(), where a program links it.
void RegisterRedirectListener(RedirectListenerFactory AFactory);

/// Raises EZnHTTPInvalidArgument where no server is part of the program.
std::unique_ptr<RedirectListener> Listen(const std::string& APrefix, RedirectHit AOnHit);

/// The URL prefix for a redirect address: all up to its last "/". Raises Exception for an address that is
/// empty, ends in "/", or doesn't begin with "http://localhost:" or "http://127.0.0.1:"; ANotLocal is the
/// text for the last.
std::string RedirectPrefix(const std::string& AUri, const std::string& AEmpty, const std::string& ANotLocal);

} // namespace Zn
