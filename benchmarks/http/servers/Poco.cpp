// POCO's HTTPServer: a pooled thread for each connection, keep-alive without a request limit.

#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/StreamCopier.h>
#include <Poco/ThreadPool.h>

#include "benchmarks/http/servers/Common.h"

using namespace Zn::Bench;
using namespace Poco::Net;

namespace
{

constexpr int cPool = 300;

class TSiteHandler : public HTTPRequestHandler
{
public:
    explicit TSiteHandler(const TSite& ASite) : FSite(ASite) {}

    void handleRequest(HTTPServerRequest& ARequest, HTTPServerResponse& AResponse) override
    {
        const std::string& target = ARequest.getURI();
        if (const TSite::TBody* const body = FSite.Find(target)) {
            AResponse.setContentType(std::string(body->ContentType));
            AResponse.sendBuffer(body->Bytes.data(), body->Bytes.size());
        } else if (target == "/echo") {
            std::string text;
            Poco::StreamCopier::copyToString(ARequest.stream(), text, 16 * 1024);
            AResponse.setContentType(std::string(cBytes));
            AResponse.sendBuffer(text.data(), text.size());
        } else if (const std::string file = FSite.FileFor(target); !file.empty()) {
            AResponse.sendFile(file, std::string(cBytes));
        } else {
            AResponse.setStatusAndReason(HTTPResponse::HTTP_NOT_FOUND);
            AResponse.setContentLength(0);
            AResponse.send();
        }
    }

private:
    const TSite& FSite;
};

class TFactory : public HTTPRequestHandlerFactory
{
public:
    explicit TFactory(const TSite& ASite) : FSite(ASite) {}
    HTTPRequestHandler* createRequestHandler(const HTTPServerRequest&) override
    {
        return new TSiteHandler(FSite);
    }

private:
    const TSite& FSite;
};

} // namespace

int main(int argc, char** argv)
{
    BlockEndSignals();
    const TArguments arguments = TArguments::Read(argc, argv);
    const TSite site(arguments.Folder);

    const int threads = arguments.Threads != 0 ? static_cast<int>(arguments.Threads) : cPool;
    Poco::ThreadPool pool(2, threads + 1);
    HTTPServerParams::Ptr params = new HTTPServerParams;
    params->setMaxThreads(threads);
    params->setMaxQueued(1024);
    params->setKeepAlive(true);
    params->setKeepAliveTimeout(Poco::Timespan(60, 0));
    params->setMaxKeepAliveRequests(0);
    HTTPServer server(new TFactory(site), pool,
                      ServerSocket(SocketAddress("127.0.0.1", arguments.Port), 1024), params);
    server.start();
    WaitForEnd();
    server.stopAll(true);
}
