#include <cstdio>

#include "common/Exceptions.h"
#include "tools/zn/Commands.h"
#include "tools/zn/amazon/Amazon.h"
#include "uZnAmazonClient.h"
#include "uZnWinHTTP.h"

namespace Zn
{

namespace
{

constexpr std::uint32_t cRetries = 3;

int Refuse(const char* ACommand, int AExitCode, const std::string& AText)
{
    std::fprintf(stderr, "%s: %s\n", ACommand, AText.c_str());
    return AExitCode;
}

/// A status with what the service says of it, in one line.
std::string Explained(const EZnHTTPException& AError)
{
    const TZnAmazonError Answer = ZnReadAmazonError(AError.Message());
    std::string Text = ZnFormat("status %d", AError.GetErrorCode());
    for (const std::string& Part : {Answer.Code, Answer.Message}) {
        if (!Part.empty())
            Text += ": " + Part;
    }
    if (Answer.IsClockWrong)
        Text += " (this machine's clock and the service's differ: set the clock)";
    return Text;
}

void SetAuthorities(TZnAmazonClient& AClient, const std::string& AFile)
{
    auto Transport = std::make_unique<TZnWinHTTPClient>(nullptr);
    Transport->SetRedirectPolicy(rdpNever);
    Transport->GetWinHTTPSession().SetAuthoritiesFile(AFile);
    AClient.SetHTTPClient(Transport.release());
}

} // namespace

TStoragePath StoragePath(const std::string& AText)
{
    const std::size_t Slash = AText.find('/');
    if (Slash == std::string::npos)
        return {AText, {}};
    return {AText.substr(0, Slash), AText.substr(Slash + 1)};
}

int WithAmazonClient(const char* ACommand, const TAmazonAccount& AAccount, const std::string& AService,
                     const std::function<int(TZnAmazonClient& AClient)>& AWork)
{
    try {
        const auto Credentials = ZnLoadAmazonCredentials(AAccount.Profile);
        if (!Credentials)
            return Refuse(
                ACommand, cExitFailure,
                AAccount.Profile.empty()
                    ? "no access key: set AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY, or write them to "
                      "~/.aws/credentials"
                    : "there is no profile with keys of the name " + AAccount.Profile);
        TZnAmazonClient Client(nullptr);
        Client.SetService(AService);
        Client.UseCredentials(*Credentials);
        if (!AAccount.Region.empty())
            Client.SetRegion(AAccount.Region);
        Client.SetCanonicalForm(cfExact);
        if (!AAccount.Endpoint.empty())
            Client.SetEndpointURL(AAccount.Endpoint);
        if (Client.GetRegion().empty())
            return Refuse(ACommand, cExitUsage, "no region: give --region, or set AWS_REGION");
        if (!AAccount.Authorities.empty())
            SetAuthorities(Client, AAccount.Authorities);
        Client.SetMaxRetries(cRetries);
        return AWork(Client);
    } catch (const EZnHTTPClientApiException& Error) {
        return Refuse(ACommand, cExitFailure, Error.Message());
    } catch (const EZnHTTPException& Error) {
        return Refuse(ACommand, cExitFailure, Explained(Error));
    } catch (const EInvalidArgument& Error) {
        return Refuse(ACommand, cExitUsage, Error.Message());
    } catch (const std::exception& Error) {
        return Refuse(ACommand, cExitFailure, Error.what());
    }
}

} // namespace Zn
