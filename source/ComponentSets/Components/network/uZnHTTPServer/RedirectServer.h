#pragma once

#include "platform/Api.h"
#include "uZnHTTPServer/Server.h"

/// A server for the redirect address of an authorization page. It answers whatever is asked of it with a page
/// that says OK.
class ZN_API TZnRedirectServer : public TZnHTTPServer
{
public:
    explicit TZnRedirectServer(TComponent* AOwner);
    ~TZnRedirectServer() override;

    /// Binds APrefix alone, raises RequestBufferSize to 8192 where it is less, and begins to serve: browsers
    /// send more than a lean default has room for.
    void ServeOn(const std::string& APrefix);
};
