#include "uZnHTTPServer/ApiBinding.h"

#include "common/Exceptions.h"
#include "common/System.h"
#include "platform/loader/Loader.h"
#include "uZnHTTPServer/Failures.h"

namespace Zn
{

HttpApiSlots HttpApi;

namespace
{

constexpr const char* cLibraryName = "Httpapi.dll";
constexpr std::uint32_t cUses = HTTP_INITIALIZE_SERVER | HTTP_INITIALIZE_CONFIG;

// Releases as ZnGetWindowsVersion numbers them.
constexpr std::uint32_t cFirstRelease = 515;
constexpr std::uint32_t cFirstReleaseV2 = 601;
constexpr std::uint32_t cFirstReleaseDisconnectEx = 601;

struct Binding
{
    THandle Library = 0;
    int Users = 0;
    bool Initialised = false;
    TZnHTTPServerVersion Version = HTTPServerV1;
};
Binding State;

template <class TFunction>
void FindOptional(TFunction& ASlot, const char* AName)
{
    ASlot = reinterpret_cast<TFunction>(GetProcAddress(State.Library, AName));
}

template <class TFunction>
void Find(TFunction& ASlot, const char* AName)
{
    FindOptional(ASlot, AName);
    RequireFunction(ASlot != nullptr, AName);
}

#define ZN_FIND(AName) Find(HttpApi.AName, #AName)

void FindVersionFunctions()
{
    if (State.Version == HTTPServerV1) {
        ZN_FIND(HttpCreateHttpHandle);
        return;
    }
    ZN_FIND(HttpCreateServerSession);
    ZN_FIND(HttpCloseServerSession);
    ZN_FIND(HttpSetServerSessionProperty);
    ZN_FIND(HttpCreateRequestQueue);
    ZN_FIND(HttpCloseRequestQueue);
    ZN_FIND(HttpCreateUrlGroup);
    ZN_FIND(HttpCloseUrlGroup);
    ZN_FIND(HttpAddUrlToUrlGroup);
    ZN_FIND(HttpRemoveUrlFromUrlGroup);
    ZN_FIND(HttpSetUrlGroupProperty);
    ZN_FIND(HttpSetRequestQueueProperty);
}

void FindCommonFunctions()
{
    ZN_FIND(HttpQueryServiceConfiguration);
    ZN_FIND(HttpSetServiceConfiguration);
    ZN_FIND(HttpDeleteServiceConfiguration);
    ZN_FIND(HttpAddUrl);
    ZN_FIND(HttpRemoveUrl);
    ZN_FIND(HttpSendHttpResponse);
    ZN_FIND(HttpSendResponseEntityBody);
    ZN_FIND(HttpReceiveHttpRequest);
    ZN_FIND(HttpReceiveRequestEntityBody);
    ZN_FIND(HttpWaitForDemandStart);
    ZN_FIND(HttpWaitForDisconnect);
    if (ZnGetWindowsVersion() >= cFirstReleaseDisconnectEx)
        ZN_FIND(HttpWaitForDisconnectEx);
    FindOptional(HttpApi.ZnHttpCreateCertificate, "ZnHttpCreateCertificate");
    FindOptional(HttpApi.ZnHttpDeleteCertificate, "ZnHttpDeleteCertificate");
    FindOptional(HttpApi.ZnHttpImportCertificate, "ZnHttpImportCertificate");
    FindOptional(HttpApi.ZnHttpQueryCertificate, "ZnHttpQueryCertificate");
    FindOptional(HttpApi.ZnHttpDropRequest, "ZnHttpDropRequest");
    FindOptional(HttpApi.ZnHttpSetPortCertificate, "ZnHttpSetPortCertificate");
    FindOptional(HttpApi.ZnHttpAddListenSocket, "ZnHttpAddListenSocket");
    FindOptional(HttpApi.ZnHttpSetProxyProtocol, "ZnHttpSetProxyProtocol");
    FindOptional(HttpApi.ZnHttpReloadConfiguration, "ZnHttpReloadConfiguration");
    FindOptional(HttpApi.ZnHttpQueryStatistics, "ZnHttpQueryStatistics");
    FindOptional(HttpApi.ZnHttpSetServiceLimits, "ZnHttpSetServiceLimits");
    FindOptional(HttpApi.ZnHttpDrainQueue, "ZnHttpDrainQueue");
}

void OpenLibrary()
{
    State.Library = LoadLibrary(cLibraryName);
    ZN_FIND(HttpInitialize);
    ZN_FIND(HttpTerminate);
    CheckResult(HttpApi.HttpInitialize(State.Version == HTTPServerV1 ? HTTPAPI_VERSION_1 : HTTPAPI_VERSION_2,
                                       cUses, nullptr));
    State.Initialised = true;
    FindVersionFunctions();
    FindCommonFunctions();
}

#undef ZN_FIND

} // namespace

void RequireFunction(bool AIsThere, const char* AName)
{
    ZnAssert(AIsThere, ZnFormat("There is no function %s in %s.", AName, cLibraryName).c_str());
}

void LoadHttpApi()
{
    if (ZnGetWindowsVersion() < cFirstRelease)
        throw Exception("The Http Server only works on Windows XP SP2 or higher!");
    if (State.Version == HTTPServerV2 && ZnGetWindowsVersion() < cFirstReleaseV2)
        throw Exception("The Http Server V2 features are only supported by Windows Vista, Windows Server "
                        "2008 or newer!");
    ++State.Users;
    if (State.Library != 0)
        return;
    try {
        OpenLibrary();
    } catch (...) {
        UnloadHttpApi();
        throw;
    }
}

void UnloadHttpApi() noexcept
{
    if (--State.Users != 0)
        return;
    if (State.Library != 0) {
        if (State.Initialised && HttpApi.HttpTerminate != nullptr)
            HttpApi.HttpTerminate(cUses, nullptr);
        FreeLibrary(State.Library);
    }
    State.Library = 0;
    State.Initialised = false;
    HttpApi = {};
}

bool HttpApiInitialised()
{
    return State.Initialised;
}

TZnHTTPServerVersion SelectedServerVersion()
{
    return State.Version;
}

void SelectServerVersion(TZnHTTPServerVersion AVersion)
{
    State.Version = AVersion;
}

} // namespace Zn
