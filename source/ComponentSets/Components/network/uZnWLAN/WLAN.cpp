#include "uZnWLAN.h"

#include <mutex>
#include <string>

#include "common/Exceptions.h"
#include "common/System.h"
#include "platform/loader/Loader.h"

namespace
{

/// The library and what was found in it.
class TWlanLibrary
{
public:
    ~TWlanLibrary() { Free(); }

    bool Load()
    {
        const std::lock_guard Guard(FMutex);
        return LoadLocked();
    }

    void Free()
    {
        const std::lock_guard Guard(FMutex);
        FOpenHandle = nullptr;
        FCloseHandle = nullptr;
        FEnumInterfaces = nullptr;
        FScan = nullptr;
        FFreeMemory = nullptr;
        if (FModule != 0)
            FreeLibrary(FModule);
        FModule = 0;
    }

    TWlanOpenHandle OpenHandle() { return Find(FOpenHandle, "WlanOpenHandle"); }
    TWlanCloseHandle CloseHandle() { return Find(FCloseHandle, "WlanCloseHandle"); }
    TWlanEnumInterfaces EnumInterfaces() { return Find(FEnumInterfaces, "WlanEnumInterfaces"); }
    TWlanScan Scan() { return Find(FScan, "WlanScan"); }
    TWlanFreeMemory FreeMemory() { return Find(FFreeMemory, "WlanFreeMemory"); }

private:
    bool LoadLocked()
    {
        if (FModule == 0)
            FModule = LoadLibrary("WlanAPI.dll");
        return FModule != 0;
    }

    template <class T>
    T Find(T& AFunction, const char* AName)
    {
        const std::lock_guard Guard(FMutex);
        if (LoadLocked() && AFunction == nullptr)
            AFunction = reinterpret_cast<T>(GetProcAddress(FModule, AName));
        ZnAssert(AFunction != nullptr,
                 ("There is no function " + std::string(AName) + " in the specfied library.").c_str());
        return AFunction;
    }

    std::mutex FMutex; // guards all below
    THandle FModule = 0;
    TWlanOpenHandle FOpenHandle = nullptr;
    TWlanCloseHandle FCloseHandle = nullptr;
    TWlanEnumInterfaces FEnumInterfaces = nullptr;
    TWlanScan FScan = nullptr;
    TWlanFreeMemory FFreeMemory = nullptr;
};

TWlanLibrary& Library()
{
    static TWlanLibrary Instance;
    return Instance;
}

void Check(std::uint32_t AResult)
{
    if (AResult != 0)
        throw Exception(ZnFormat("Error: %u", AResult));
}

/// The low half of the platform's release tells which version of the interface it has.
std::uint32_t ClientVersion()
{
    constexpr std::uint32_t cFirstWithVersion2 = 601;
    return (ZnGetWindowsVersion() & 0xFFFF) >= cFirstWithVersion2 ? 2 : 1;
}

} // namespace

bool WlanAvailable()
{
    return Library().Load();
}

std::uint32_t WlanOpenHandle(std::uint32_t& ANegotiatedVersion)
{
    std::uint32_t Handle = 0;
    Check(Library().OpenHandle()(ClientVersion(), nullptr, &ANegotiatedVersion, &Handle));
    return Handle;
}

std::uint32_t WlanCloseHandle(std::uint32_t AHandle)
{
    return Library().CloseHandle()(AHandle, nullptr);
}

PWLAN_INTERFACE_INFO_LIST WlanEnumInterfaces(std::uint32_t AHandle)
{
    PWLAN_INTERFACE_INFO_LIST List = nullptr;
    Check(Library().EnumInterfaces()(AHandle, nullptr, &List));
    return List;
}

void WlanScan(std::uint32_t AHandle, const TGUID* AInterface, PDOT11_SSID ASsid, PWLAN_RAW_DATA AData)
{
    Check(Library().Scan()(AHandle, AInterface, ASsid, AData, nullptr));
}

void WlanFreeMemory(void* AMemory)
{
    Library().FreeMemory()(AMemory);
}

void Zn::FinalizeWLAN()
{
    Library().Free();
}
