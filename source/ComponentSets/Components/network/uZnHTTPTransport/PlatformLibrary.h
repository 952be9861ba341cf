#pragma once

#include <atomic>
#include <mutex>
#include <vector>

#include "platform/Api.h"
#include "platform/loader/Loader.h"

namespace Zn
{

/// A library of platform functions, loaded at the first call of one of them. Any thread; but nobody may be
/// using the functions while it is unloaded.
class PlatformLibrary
{
public:
    /// AFileName "Winhttp.dll", ATitle "WinHTTP", AName "Winhttp": the last two stand in its errors.
    constexpr PlatformLibrary(const char* AFileName, const char* ATitle, const char* AName)
        : FFileName(AFileName), FTitle(ATitle), FName(AName)
    {
    }
    ~PlatformLibrary() { Unload(); }
    PlatformLibrary(const PlatformLibrary&) = delete;
    PlatformLibrary& operator=(const PlatformLibrary&) = delete;

    /// Raises Exception where there is no such library.
    void Load();
    /// Forgets all functions and frees the library.
    ZN_API void Unload();
    /// Fills ASlot, until the library is unloaded. Raises EAssertionFailed when it lacks the function.
    void* Find(const char* AFunction, std::atomic<void*>& ASlot);

private:
    const char* FFileName;
    const char* FTitle;
    const char* FName;
    std::mutex FLock; // one thread loads, looks up or unloads
    std::atomic<THandle> FModule{0};
    std::vector<std::atomic<void*>*> FFilled;
};

/// A function of a library, looked up at its first call.
template <class TFunction>
class PlatformFunction
{
public:
    constexpr PlatformFunction(PlatformLibrary& ALibrary, const char* AName)
        : FLibrary(ALibrary), FName(AName)
    {
    }

    /// Raises what PlatformLibrary raises.
    TFunction operator*()
    {
        void* const Known = FFunction.load(std::memory_order_acquire); // stored by PlatformLibrary::Find
        return reinterpret_cast<TFunction>(Known != nullptr ? Known : FLibrary.Find(FName, FFunction));
    }

private:
    PlatformLibrary& FLibrary;
    const char* FName;
    std::atomic<void*> FFunction{nullptr};
};

} // namespace Zn
