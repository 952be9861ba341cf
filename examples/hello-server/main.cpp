/// The smallest server: greets who asks, and tells what they asked for.
///
///     build/bin/hello-server &
///     curl http://localhost:8080/hello/world

#include <csignal>
#include <cstdio>

#include "uZnHTTPServer.h"

int main()
{
    // Threads inherit the mask, so from here on Ctrl+C is for the wait at the end alone.
    sigset_t Stop;
    sigemptyset(&Stop);
    sigaddset(&Stop, SIGINT);
    sigaddset(&Stop, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &Stop, nullptr);

    TZnHTTPServer Server(nullptr);
    Server.SetBindings({"http://localhost:8080/hello/"});

    // Runs on a worker thread, for many clients at the same time: what handlers share needs a lock.
    Server.SetOnResponse(
        [](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse) {
            // An exception becomes the answer: this one a page with status 404.
            if (ARequest->UrlData.Document.empty())
                throw EZnHTTPNotFound("Greet somebody: /hello/NAME");

            AResponse.SetContentType("text/plain; charset=utf-8");
            AResponse.SetResponseText("Hello " + ZnURLDecode(AnsiString(ARequest->UrlData.Document)) +
                                      ", you are at " + ARequest->RemoteIp + ".\n");
        });

    try {
        Server.SetActive(true); // from here on requests come in
    } catch (const Exception& Error) {
        std::fprintf(stderr, "%s\n", Error.Message().c_str());
        return 1;
    }
    std::printf("Ask http://localhost:8080/hello/world; Ctrl+C ends.\n");

    int Signal = 0;
    sigwait(&Stop, &Signal);
    Server.SetActive(false); // waits for handlers that still run
    return 0;
}
