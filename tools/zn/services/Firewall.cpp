#include <cstdio>
#include <filesystem>
#include <functional>

#include "common/Exceptions.h"
#include "common/Json.h"
#include "platform/errors/Errors.h"
#include "tools/zn/Commands.h"
#include "tools/zn/config/Report.h"
#include "tools/zn/services/Services.h"
#include "uZnFirewall.h"

namespace Zn
{

namespace
{

int Explain(const std::string& AText)
{
    std::fprintf(stderr, "zn firewall: %s\n", AText.c_str());
    return cExitFailure;
}

int Guarded(const std::function<int()>& AWork)
{
    try {
        return AWork();
    } catch (const EOleSysError& Error) {
        switch (Error.GetErrorCode()) {
        case HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED):
            return Explain("this user may not change the list; run as the user it belongs to, or set "
                           "ZN_STATE_DIR to a folder of your own");
        case HRESULT_FROM_WIN32(ERROR_INVALID_DATA):
            return Explain("the file firewall.json is damaged; correct it or move it away");
        default:
            return Explain(Error.Message());
        }
    } catch (const std::exception& Error) {
        return Explain(Error.what());
    }
}

std::string FullPath(const std::string& APath)
{
    return std::filesystem::absolute(APath).lexically_normal().string();
}

} // namespace

int ShowFirewall(bool AJson)
{
    return Guarded([&] {
        const bool Enabled = ZnWindowsFirewallEnabled();
        if (AJson)
            PrintJson(TJSONObject().AddPair("enabled", std::make_unique<TJSONBool>(Enabled)));
        else
            std::printf("%s\n", Enabled ? "on: this host filters what comes in"
                                        : "off: no filter for what comes in was found");
        return cExitOk;
    });
}

int AllowProgram(const std::string& APath)
{
    return Guarded([&] {
        const std::string Path = FullPath(APath);
        ZnWindowsFirewallEnableApp(Path);
        std::printf("%s is on the list of allowed programs.\n", Path.c_str());
        return cExitOk;
    });
}

int RemoveProgram(const std::string& APath)
{
    return Guarded([&] {
        const std::string Path = FullPath(APath);
        ZnWindowsFirewallRemoveApp(Path);
        // Removing is silent about a list that can't be written; what stands there now tells.
        if (ZnWindowsFirewallAppIsEnabled(Path))
            return Explain(Path + " is still on the list: this user may not change it");
        std::printf("%s is not on the list of allowed programs.\n", Path.c_str());
        return cExitOk;
    });
}

int CheckProgram(const std::string& APath)
{
    return Guarded([&] {
        const std::string Path = FullPath(APath);
        const bool Allowed = ZnWindowsFirewallAppIsEnabled(Path);
        std::printf("%s is %s.\n", Path.c_str(), Allowed ? "allowed" : "not allowed");
        return Allowed ? cExitOk : cExitFailure;
    });
}

} // namespace Zn
