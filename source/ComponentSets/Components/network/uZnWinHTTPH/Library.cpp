#include "uZnWinHTTPH/Library.h"

#include <mutex>
#include <string>

#include "common/Exceptions.h"
#include "common/ThreadAnnotations.h"
#include "platform/loader/Loader.h"

namespace
{

constexpr const char* cLibraryName = "Winhttp.dll";

std::mutex ModuleLock; // one thread loads or unloads
std::atomic<THandle> Module{0};

} // namespace

Zn::WinHttpFunctions Zn::WinHttp;

void ZnLoadWinHTTP()
{
    if (Module != 0)
        return;
    const std::lock_guard Guard(ModuleLock);
    if (Module != 0)
        return;
    Module = LoadLibrary(cLibraryName);
    if (Module == 0)
        throw Exception("Failed to load the WinHTTP Library!");
}

void ZnUnloadWinHTTP()
{
    Zn::WinHttpFunctions& All = Zn::WinHttp;
    All.Open.Forget();
    All.CloseHandle.Forget();
    All.Connect.Forget();
    All.OpenRequest.Forget();
    All.AddRequestHeaders.Forget();
    All.SetCredentials.Forget();
    All.QueryAuthSchemes.Forget();
    All.SendRequest.Forget();
    All.ReceiveResponse.Forget();
    All.QueryHeaders.Forget();
    All.QueryDataAvailable.Forget();
    All.ReadData.Forget();
    All.QueryOption.Forget();
    All.SetOption.Forget();
    const std::lock_guard Guard(ModuleLock);
    if (const THandle Loaded = Module.exchange(0))
        FreeLibrary(Loaded);
}

template <class TFunction>
TFunction Zn::WinHttpFunction<TFunction>::Find()
{
    ZnLoadWinHTTP();
    const auto Function = reinterpret_cast<TFunction>(GetProcAddress(Module, FName));
    ZnAssert(Function != nullptr,
             ("There is no function " + std::string(FName) + " in the Winhttp library.").c_str());
    FFunction.store(Function, std::memory_order_release);
    return Function;
}

// Two functions of one type share an instance.
template class Zn::WinHttpFunction<decltype(&::WinHttpOpen)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpCloseHandle)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpConnect)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpOpenRequest)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpAddRequestHeaders)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpSetCredentials)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpQueryAuthSchemes)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpSendRequest)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpReceiveResponse)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpQueryHeaders)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpQueryDataAvailable)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpReadData)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpQueryOption)>;
template class Zn::WinHttpFunction<decltype(&::WinHttpSetOption)>;
