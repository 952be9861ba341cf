/// A client: asks for a page, sends a form, and stores a file with its progress told.
///
///     build/bin/zn serve examples/site &
///     build/bin/http-client http://localhost:8080/ ruler.txt

#include <cstdio>

#include "uZnWinHTTP.h"

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: http-client URL FILE\n");
        return 2;
    }
    const std::string Url = argv[1];

    // One client, many requests: they share its settings, its cookies and its connection.
    TZnWinHTTPClient Client(nullptr);
    Client.GetRequestHeaders().SetAcceptLanguage("en, de;q=0.5");
    Client.GetTimeOuts().SetReceiveTimeOut(10000); // ms

    try {
        // What went wrong on the way is an exception; a status is one only when that is asked for (true).
        const auto Page = Client.Request(httpGET, Url, true);
        std::printf("%s has %zu bytes of %s.\n", Url.c_str(), Page->GetResponse().size(),
                    Page->GetHeader("Content-Type").c_str());

        // Here it isn't: what the server thinks of the form is looked at.
        const auto Answer = Client.Request(httpPOST, Url, std::string("boat=ketch&masts=2"),
                                           "application/x-www-form-urlencoded", false);
        std::printf("A form: %u %s\n", Answer->GetStatus().StatusCode, Answer->GetStatus().StatusMsg.c_str());

        // A body goes into any stream, piece by piece, in memory that doesn't grow with it.
        std::int64_t Received = 0;
        Client.SetOnProgress([&](TObject*, TStream*, std::int64_t ABytesRead, std::int64_t ATotalBytes) {
            Received += ABytesRead;
            std::printf("%lld of %lld\n", static_cast<long long>(Received),
                        static_cast<long long>(ATotalBytes));
        });
        const auto Download = Client.Request(httpGET, Url + argv[2], true);
        TMemoryStream File;
        Download->GetResponseData(File);
    } catch (const EZnHTTPTimeOut&) {
        std::fprintf(stderr, "The server is too slow.\n");
        return 1;
    } catch (const EZnHTTPConnect& Error) {
        std::fprintf(stderr, "There is no way to the server:\n%s\n", Error.Message().c_str());
        return 1;
    } catch (const EZnHTTPException& Error) { // the status that Request(..., true) raised
        std::fprintf(stderr, "%d: %s\n", Error.GetErrorCode(), Error.Message().c_str());
        return 1;
    } catch (const Exception& Error) {
        std::fprintf(stderr, "%s\n", Error.Message().c_str());
        return 1;
    }
    return 0;
}
