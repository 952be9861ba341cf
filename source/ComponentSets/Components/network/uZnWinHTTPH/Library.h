#pragma once

#include <atomic>

#include "platform/winhttp/Winhttp.h"

/// Loads "Winhttp.dll" unless it is loaded. Raises Exception where there is none. Any thread.
void ZnLoadWinHTTP();

/// Forgets all functions and frees the library. Nobody may be using the unit meanwhile.
void ZnUnloadWinHTTP();

namespace Zn
{

/// A function of the library, looked up at its first call. Two threads may look it up at once: both find
/// the same.
template <class TFunction>
class WinHttpFunction
{
public:
    explicit WinHttpFunction(const char* AName) : FName(AName) {}

    /// Raises Exception without the library, EAssertionFailed when it lacks the function.
    TFunction operator*()
    {
        if (const TFunction Function = FFunction.load(std::memory_order_acquire))
            return Function;
        return Find();
    }
    void Forget() { FFunction.store(nullptr, std::memory_order_release); }

private:
    TFunction Find();

    const char* FName;
    std::atomic<TFunction> FFunction{nullptr};
};

/// All that the unit calls.
struct WinHttpFunctions
{
#define ZN_SLOT(AName)                                                                                       \
    WinHttpFunction<decltype(&::WinHttp##AName)> AName                                                       \
    {                                                                                                        \
        "WinHttp" #AName                                                                                     \
    }
    ZN_SLOT(Open);
    ZN_SLOT(CloseHandle);
    ZN_SLOT(Connect);
    ZN_SLOT(OpenRequest);
    ZN_SLOT(AddRequestHeaders);
    ZN_SLOT(SetCredentials);
    ZN_SLOT(QueryAuthSchemes);
    ZN_SLOT(SendRequest);
    ZN_SLOT(ReceiveResponse);
    ZN_SLOT(QueryHeaders);
    ZN_SLOT(QueryDataAvailable);
    ZN_SLOT(ReadData);
    ZN_SLOT(QueryOption);
    ZN_SLOT(SetOption);
#undef ZN_SLOT

    ~WinHttpFunctions()
    {
        ZnUnloadWinHTTP();
    }
};
extern WinHttpFunctions WinHttp;

} // namespace Zn
