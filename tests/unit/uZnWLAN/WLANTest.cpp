#include "uZnWLAN.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "common/Exceptions.h"
#include "platform/loader/Loader.h"

namespace
{

class WLAN : public testing::Test
{
protected:
    void SetUp() override { Zn::FinalizeWLAN(); }
    void TearDown() override { Zn::FinalizeWLAN(); }
};

std::string MessageOf(const std::function<void()>& AWork)
{
    try {
        AWork();
    } catch (const Exception& Error) {
        return Error.ClassName() + ": " + Error.Message();
    }
    return {};
}

} // namespace

TEST_F(WLAN, CallsTheSharedObjectOfThatName)
{
    ASSERT_TRUE(WlanAvailable());
    std::uint32_t Version = 0;
    const std::uint32_t Handle = WlanOpenHandle(Version);
    EXPECT_EQ(Handle, 77U);
    EXPECT_EQ(Version, 2U);
    EXPECT_EQ(MessageOf([&] { WlanOpenHandle(Version); }), "Exception: Error: 170");
    PWLAN_INTERFACE_INFO_LIST List = WlanEnumInterfaces(Handle);
    ASSERT_EQ(List->dwNumberOfItems, 2U);
    EXPECT_EQ(std::u16string(List->InterfaceInfo[1].strInterfaceDescription), u"wlan1");
    TDOT11_SSID Ssid{3, {'n', 'e', 't'}};
    TWLAN_RAW_DATA Data{1, {'i'}};
    EXPECT_EQ(MessageOf([&] { WlanScan(Handle, &List->InterfaceInfo[0].InterfaceGuid, &Ssid, &Data); }),
              "Exception: Error: 87");
    WlanScan(Handle, &List->InterfaceInfo[1].InterfaceGuid, &Ssid, &Data);
    WlanFreeMemory(List);
    EXPECT_EQ(MessageOf([&] { WlanEnumInterfaces(Handle + 1); }), "Exception: Error: 6");
    EXPECT_EQ(WlanCloseHandle(Handle), 0U);
    EXPECT_EQ(WlanCloseHandle(Handle), 6U);
}

TEST_F(WLAN, AMissingFunctionIsNamed)
{
    const TZnScopedLibrary Empty("WlanAPI.dll", {});
    EXPECT_TRUE(WlanAvailable());
    std::uint32_t Version = 0;
    EXPECT_EQ(MessageOf([&] { WlanOpenHandle(Version); }),
              "EAssertionFailed: There is no function WlanOpenHandle in the specfied library.");
    EXPECT_EQ(MessageOf([&] { WlanFreeMemory(nullptr); }),
              "EAssertionFailed: There is no function WlanFreeMemory in the specfied library.");
}
