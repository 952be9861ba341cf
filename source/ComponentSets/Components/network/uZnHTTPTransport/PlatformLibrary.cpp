#include "uZnHTTPTransport/PlatformLibrary.h"

#include <string>

#include "common/Exceptions.h"

void Zn::PlatformLibrary::Load()
{
    if (FModule != 0)
        return;
    const std::lock_guard Guard(FLock);
    if (FModule != 0)
        return;
    FModule = LoadLibrary(FFileName);
    if (FModule == 0)
        throw Exception(std::string("Failed to load the ") + FTitle + " Library!");
}

void Zn::PlatformLibrary::Unload()
{
    const std::lock_guard Guard(FLock);
    for (std::atomic<void*>* const Each : FFilled)
        Each->store(nullptr, std::memory_order_release);
    FFilled.clear();
    if (const THandle Loaded = FModule.exchange(0))
        FreeLibrary(Loaded);
}

void* Zn::PlatformLibrary::Find(const char* AFunction, std::atomic<void*>& ASlot)
{
    Load();
    const std::lock_guard Guard(FLock);
    void* const Found = GetProcAddress(FModule, AFunction);
    ZnAssert(Found != nullptr,
             (std::string("There is no function ") + AFunction + " in the " + FName + " library.").c_str());
    if (ASlot.exchange(Found, std::memory_order_acq_rel) == nullptr)
        FFilled.push_back(&ASlot);
    return Found;
}
