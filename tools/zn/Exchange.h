#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/zn/SiteFolder.h"
#include "uZnHTTPServer.h"

namespace Zn
{

/// One request in work: the request, its response, and what has to live until the answer has left.
/// Belongs to the worker that serves it.
class TExchange
{
public:
    TExchange(TZnHTTPServerResponseThread& AWorker, TZnHTTPServerRequest& ARequest,
              TZnHTTPServerResponse& AResponse)
        : Worker(AWorker), Request(ARequest), Response(AResponse)
    {
    }

    TZnHTTPServerResponseThread& Worker;
    TZnHTTPServerRequest& Request;
    TZnHTTPServerResponse& Response;

    /// The bytes of a request field; empty when absent.
    std::string Header(THTTP_HEADER_ID AHeader) const;

    /// Puts ARange in the place of the request's Range, for the pipeline to read.
    void ReplaceRange(std::string ARange);

    void RespondText(std::string AText, const char* AContentType = "text/plain; charset=utf-8");

    /// 301 to a path on this server.
    void Redirect(const std::string& ALocation);

    /// Answers with an open file, which stays open until the answer has left: the very file that was opened,
    /// whatever has its name by then.
    void SendFile(TSiteEntry AFile);

private:
    TSiteEntry FFile;
    std::string FRange;
};

} // namespace Zn
