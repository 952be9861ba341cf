// Keeps a note in a bucket, reads it back and prints a link to it:
//
//     amazon-storage BUCKET TEXT [ENDPOINT]
//
// The access key comes from AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY, or from ~/.aws/credentials; the
// region from AWS_REGION. ENDPOINT, such as http://localhost:4568, is a service of one's own in the place of
// the public one.

#include <chrono>
#include <cstdio>
#include <string>

#include "uZnAmazonClient.h"

namespace
{

void KeepNote(TZnAmazonClient& AClient, const std::string& ABucket, const std::string& AText)
{
    const std::string Key = "notes/latest.txt";
    AClient.SetContentType("text/plain; charset=utf-8");
    AClient.Execute(ABucket, httpPUT, AText, Key);
    std::printf("kept:  %s\n", AClient.Get(ABucket, Key).c_str());

    // Whoever has this URL can read the note for ten minutes, without a key.
    std::printf("link:  %s\n", AClient.PresignURL(httpGET, ABucket, Key, std::chrono::minutes(10)).c_str());
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::fprintf(stderr, "usage: amazon-storage BUCKET TEXT [ENDPOINT]\n");
        return 2;
    }
    try {
        const auto Credentials = ZnLoadAmazonCredentials();
        if (!Credentials) {
            std::fprintf(stderr, "no access key: see the first lines of this program\n");
            return 1;
        }
        TZnAmazonClient Client(nullptr);
        Client.SetService("s3");
        Client.SetRegion("us-east-1");
        Client.UseCredentials(*Credentials); // with a region of their own, that one
        if (argc > 3)
            Client.SetEndpointURL(argv[3]);
        Client.SetMaxRetries(3); // a busy service gets another chance
        KeepNote(Client, argv[1], argv[2]);
        return 0;
    } catch (const EZnHTTPException& Error) {
        const TZnAmazonError Answer = ZnReadAmazonError(Error.Message());
        std::fprintf(stderr, "status %d: %s %s\n", Error.GetErrorCode(), Answer.Code.c_str(),
                     Answer.Message.c_str());
    } catch (const Exception& Error) {
        std::fprintf(stderr, "%s\n", Error.Message().c_str());
    }
    return 1;
}
