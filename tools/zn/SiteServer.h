#pragma once

#include <string>
#include <vector>

#include "tools/zn/AccessLog.h"
#include "tools/zn/Exchange.h"
#include "tools/zn/OpenIDLogon.h"
#include "tools/zn/Protection.h"
#include "tools/zn/StaticFiles.h"
#include "uZnHTTPServer.h"

namespace Zn
{

/// The server of `zn serve`: files, the demo handlers and a log line for each request.
class TSiteServer : public TZnHTTPServer
{
public:
    /// AFiles and ALog outlive the server.
    TSiteServer(const TStaticFiles& AFiles, const TAccessLog& ALog, bool ADemo);
    ~TSiteServer() override;

    /// Adds a URL to serve: "http://host:port/path/". The files stand below its path.
    void AddBinding(const std::string& AUrl);

    /// Asks for a logon where AProtection says so. It outlives the server.
    void Protect(const TProtection& AProtection);
    /// Strangers log on there. For a server that is protected; AProvider outlives the server's last request.
    void LogOnBy(const TOpenIDLogon& AProvider);

    /// Answers with the counters at APath below each binding, under the protection of that path.
    void ShowMetricsAt(const std::string& APath);

protected:
    void DoOnResponse(TZnHTTPServerResponseThread& AResponseThread,
                      const TZnHTTPServerOnResponse& AOnResponse) override;
    /// Pages and what they include come from the served folder, and from nowhere else.
    std::unique_ptr<TStream> CreateFileStream(const std::string& APath,
                                              const std::string& AFileName) override;

private:
    void Respond(TExchange& AExchange);
    void RespondMetrics(TExchange& AExchange);
    bool RespondByProvider(TExchange& AExchange, std::string_view APath) const;
    std::string_view PrefixOf(std::string_view APath) const;

    const TStaticFiles& FFiles;
    const TAccessLog& FLog;
    const bool FDemo;
    const TProtection* FProtection = nullptr;
    const TOpenIDLogon* FOpenID = nullptr;
    std::string FMetricsPath; // without the slash in front; empty: none
    std::vector<std::string>
        FPrefixes; // paths of the bindings, each with "/" at both ends; the longest first
};

} // namespace Zn
