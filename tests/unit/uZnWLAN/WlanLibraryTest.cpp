#include "platform/wlan/Wlan.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/errors/Errors.h"
#include "platform/loader/Loader.h"
#include "uZnWLAN.h"

namespace
{

/// The library itself, by its path.
struct TLibrary
{
    THandle Module = LoadLibrary(ZN_WLAN_LIBRARY);
    TWlanOpenHandle Open = Find<TWlanOpenHandle>("WlanOpenHandle");
    TWlanCloseHandle Close = Find<TWlanCloseHandle>("WlanCloseHandle");
    TWlanEnumInterfaces Enum = Find<TWlanEnumInterfaces>("WlanEnumInterfaces");
    TWlanScan Scan = Find<TWlanScan>("WlanScan");
    TWlanFreeMemory Free = Find<TWlanFreeMemory>("WlanFreeMemory");

    ~TLibrary() { FreeLibrary(Module); }

    template <class T>
    T Find(const char* AName) const
    {
        return reinterpret_cast<T>(GetProcAddress(Module, AName));
    }
};

} // namespace

TEST(WlanLibrary, RefusesWhatItIsNotMadeFor)
{
    const TLibrary Library;
    ASSERT_NE(Library.Open, nullptr);
    ASSERT_NE(Library.Free, nullptr);
    std::uint32_t Version = 0;
    std::uint32_t Handle = 0;
    PWLAN_INTERFACE_INFO_LIST List = nullptr;
    const TGUID Nobody;
    TDOT11_SSID TooLong{33, {}};
    EXPECT_EQ(Library.Open(0, nullptr, &Version, &Handle), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Library.Open(2, &Version, &Version, &Handle), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Library.Open(2, nullptr, &Version, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Library.Enum(12345, nullptr, &List), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Library.Scan(12345, &Nobody, &TooLong, nullptr, nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Library.Scan(12345, &Nobody, nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(Library.Close(12345, nullptr), ERROR_INVALID_HANDLE);
    Library.Free(nullptr);
}

TEST(WlanLibrary, ListsAndScansTheRadiosOfTheKernel)
{
    const TLibrary Library;
    std::uint32_t Version = 0;
    std::uint32_t Handle = 0;
    const std::uint32_t Opened = Library.Open(2, nullptr, &Version, &Handle);
    if (Opened == ERROR_SERVICE_NOT_ACTIVE)
        GTEST_SKIP() << "this kernel has no wireless networks; load mac80211_hwsim for simulated ones";
    ASSERT_EQ(Opened, NO_ERROR);
    PWLAN_INTERFACE_INFO_LIST List = nullptr;
    ASSERT_EQ(Library.Enum(Handle, nullptr, &List), NO_ERROR);
    const std::unique_ptr<TWLAN_INTERFACE_INFO_LIST, TWlanFreeMemory> Guard(List, Library.Free);
    const TGUID Nobody;
    EXPECT_NE(Library.Scan(Handle, &Nobody, nullptr, nullptr, nullptr), NO_ERROR);
    for (std::uint32_t Index = 0; Index < List->dwNumberOfItems; ++Index) {
        const TWLAN_INTERFACE_INFO& Info = List->InterfaceInfo[Index];
        const std::uint32_t Result = Library.Scan(Handle, &Info.InterfaceGuid, nullptr, nullptr, nullptr);
        EXPECT_TRUE(Result == NO_ERROR || Result == ERROR_BUSY || Result == ERROR_ACCESS_DENIED ||
                    Info.isState == wlan_interface_state_not_ready)
            << Result;
    }
    EXPECT_EQ(Library.Close(Handle, nullptr), NO_ERROR);
    EXPECT_EQ(Library.Enum(Handle, nullptr, &List), ERROR_INVALID_HANDLE);
    if (List->dwNumberOfItems == 0)
        GTEST_SKIP() << "no wireless interface; load mac80211_hwsim for simulated ones";
}
