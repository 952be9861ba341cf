#include "tools/zn/FormLogon.h"

namespace Zn
{

void UseFormLogon(TZnCustomHTTPServer& AServer, const TFormLogonOptions& AOptions,
                  const std::vector<std::string>& AProtect)
{
    const std::string Root = TZnURLData::Create(AServer.GetBindings()[0]).FilePath; // ends in "/"
    const auto Given = [&](const std::string& AUrl, const std::string& ADefault) {
        return AUrl.empty() ? Root + ADefault : AUrl;
    };
    std::string First = AProtect.empty() ? "" : AProtect.front();
    First.erase(0, First.find_first_not_of('/'));
    AServer.SetLogonUrl(Given(AOptions.LogonUrl, "logon.html"));
    AServer.SetLogoffUrl(Given(AOptions.LogoffUrl, "logoff.html"));
    AServer.SetDefaultUrl(Given(AOptions.DefaultUrl, First));
}

bool IsLogonPage(const TZnCustomHTTPServer& AServer, const TZnURLData& AUrl)
{
    // With any query: it is the page that must be seen, whatever the server takes for a logon.
    return AServer.GetAuthTokenManager().GetConfigured() &&
           (AUrl.FilePath == AServer.GetLogonUrl() || AUrl.FilePath == AServer.GetLogoffUrl());
}

} // namespace Zn
