#include "uZnNamedPipes/NetworkLogon.h"

#include "common/Encoding.h"
#include "common/System.h"
#include "platform/errors/Errors.h"
#include "platform/loader/Loader.h"
#include "platform/pipes/Pipes.h"
#include "uZnNamedPipes/PipeExceptions.h"

namespace
{

using TAddConnection =
    decltype(static_cast<std::uint32_t (*)(const TNETRESOURCEW*, const char16_t*, const char16_t*,
                                           std::uint32_t)>(&::WNetAddConnection2W));
using TCancelConnection =
    decltype(static_cast<std::uint32_t (*)(const char16_t*, std::uint32_t, bool)>(&::WNetCancelConnection2W));

/// "Mpr.dll" for one call: a logon comes once per connection.
class NetworkProvider
{
public:
    NetworkProvider() : FLibrary(LoadLibrary("Mpr.dll")) {}
    ~NetworkProvider()
    {
        if (FLibrary != 0)
            FreeLibrary(FLibrary);
    }
    NetworkProvider(const NetworkProvider&) = delete;
    NetworkProvider& operator=(const NetworkProvider&) = delete;

    template <class TFunction>
    TFunction Find(const char* AName) const
    {
        return FLibrary != 0 ? reinterpret_cast<TFunction>(GetProcAddress(FLibrary, AName)) : nullptr;
    }

private:
    THandle FLibrary;
};

std::u16string RemoteName(const std::string& AServerName)
{
    return u"\\\\" + Utf16FromUtf8(AServerName);
}

} // namespace

void WNetAddConnection2(const std::string& AServerName, const std::string& AUserName,
                        const std::string& APassword)
{
    const NetworkProvider Provider;
    const auto Add = Provider.Find<TAddConnection>("WNetAddConnection2W");
    const std::u16string Name = RemoteName(AServerName);
    TNETRESOURCEW Resource;
    Resource.dwScope = RESOURCE_GLOBALNET;
    Resource.lpRemoteName = Name.c_str();
    const std::uint32_t Error =
        Add ? Add(&Resource, Utf16FromUtf8(APassword).c_str(), Utf16FromUtf8(AUserName).c_str(), 0)
            : ERROR_NOT_SUPPORTED;
    if (Error != NO_ERROR)
        throw EZnNamedPipe(Error, SysErrorMessage(Error));
}

void WNetCancelConnection2W(const std::string& AServerName)
{
    const NetworkProvider Provider;
    if (const auto Cancel = Provider.Find<TCancelConnection>("WNetCancelConnection2W"))
        Cancel(RemoteName(AServerName).c_str(), CONNECT_UPDATE_PROFILE, false);
}
