#include "tools/zn/FormLogon.h"

namespace Zn
{

TFormLogonOptions PagesOf(const TZnCustomHTTPServer& AServer, const TFormLogonOptions& AOptions,
                          const std::vector<std::string>& AProtect)
{
    const std::string Root = TZnURLData::Create(AServer.GetBindings()[0]).FilePath; // ends in "/"
    const auto Given = [&](const std::string& AUrl, const std::string& ADefault) {
        return AUrl.empty() ? Root + ADefault : AUrl;
    };
    std::string First = AProtect.empty() ? "" : AProtect.front();
    First.erase(0, First.find_first_not_of('/'));
    return {.LogonUrl = Given(AOptions.LogonUrl, "logon.html"),
            .LogoffUrl = Given(AOptions.LogoffUrl, "logoff.html"),
            .DefaultUrl = Given(AOptions.DefaultUrl, First)};
}

void UseFormLogon(TZnCustomHTTPServer& AServer, const TFormLogonOptions& AOptions,
                  const std::vector<std::string>& AProtect)
{
    const TFormLogonOptions Pages = PagesOf(AServer, AOptions, AProtect);
    AServer.SetLogonUrl(Pages.LogonUrl);
    AServer.SetLogoffUrl(Pages.LogoffUrl);
    AServer.SetDefaultUrl(Pages.DefaultUrl);
}

bool IsLogonPage(const TZnCustomHTTPServer& AServer, const TZnURLData& AUrl)
{
    // With any query: it is the page that must be seen, whatever the server takes for a logon.
    return AServer.GetAuthTokenManager().GetConfigured() &&
           (AUrl.FilePath == AServer.GetLogonUrl() || AUrl.FilePath == AServer.GetLogoffUrl());
}

} // namespace Zn
