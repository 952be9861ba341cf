#include "uZnFirewall.h"

#include <vector>

#include <gtest/gtest.h>

#include "platform/errors/Errors.h"
#include "platform/loader/Loader.h"
#include "tests/support/TemporaryState.h"

namespace
{

constexpr HRESULT cNoList = HRESULT_FROM_WIN32(ERROR_INVALID_DATA);

std::int32_t ErrorOf(const std::function<void()>& AWork)
{
    try {
        AWork();
    } catch (const EOleSysError& Error) {
        return Error.GetErrorCode();
    }
    return S_OK;
}

/// Objects that write down what is asked of them; the operation called FailsAt fails.
struct TScript
{
    static inline std::vector<std::string> Calls;
    static inline std::string FailsAt;

    static HRESULT Note(const std::string& ACall)
    {
        Calls.push_back(ACall);
        return ACall == FailsAt ? cNoList : S_OK;
    }

    struct TEntry : INetFwAuthorizedApplication
    {
        HRESULT get_Name(std::string&) override { return Note("get_Name"); }
        HRESULT put_Name(const std::string& AName) override { return Note("Name " + AName); }
        HRESULT get_ProcessImageFileName(std::string&) override { return Note("get_Path"); }
        HRESULT put_ProcessImageFileName(const std::string& APath) override { return Note("Path " + APath); }
        HRESULT get_IpVersion(std::int32_t&) override { return Note("get_IpVersion"); }
        HRESULT put_IpVersion(std::int32_t A) override { return Note("IpVersion " + std::to_string(A)); }
        HRESULT get_Scope(std::int32_t&) override { return Note("get_Scope"); }
        HRESULT put_Scope(std::int32_t A) override { return Note("Scope " + std::to_string(A)); }
        HRESULT get_Enabled(VARIANT_BOOL&) override { return Note("get_Enabled"); }
        HRESULT put_Enabled(VARIANT_BOOL A) override { return Note("Enabled " + std::to_string(A)); }
    };
    struct TList : INetFwAuthorizedApplications
    {
        HRESULT get_Count(std::int32_t&) override { return Note("Count"); }
        HRESULT Add(const std::shared_ptr<INetFwAuthorizedApplication>&) override { return Note("Add"); }
        HRESULT Remove(const std::string&) override { return Note("Remove"); }
        HRESULT Item(const std::string&, std::shared_ptr<INetFwAuthorizedApplication>&) override
        {
            Note("Item");
            return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
        }
    };
    struct TProfile : INetFwProfile
    {
        HRESULT get_FirewallEnabled(VARIANT_BOOL& AEnabled) override
        {
            AEnabled = VARIANT_TRUE;
            return Note("FirewallEnabled");
        }
        HRESULT get_AuthorizedApplications(std::shared_ptr<INetFwAuthorizedApplications>& AResult) override
        {
            AResult = std::make_shared<TList>();
            return Note("AuthorizedApplications");
        }
    };
    struct TPolicy : INetFwPolicy
    {
        HRESULT get_CurrentProfile(std::shared_ptr<INetFwProfile>& AResult) override
        {
            AResult = std::make_shared<TProfile>();
            return Note("CurrentProfile");
        }
    };
    struct TManager : INetFwMgr
    {
        HRESULT get_LocalPolicy(std::shared_ptr<INetFwPolicy>& AResult) override
        {
            AResult = std::make_shared<TPolicy>();
            return Note("LocalPolicy");
        }
    };

    static HRESULT Create(const TGUID& AClass, std::uint32_t, const TGUID&,
                          std::shared_ptr<IInterface>& AResult)
    {
        const bool IsManager = AClass == IID_NetFwMgr;
        if (IsManager)
            AResult = std::make_shared<TManager>();
        else
            AResult = std::make_shared<TEntry>();
        return Note(IsManager ? "Manager" : "Application");
    }

    TScript() { Calls.clear(); }
    ~TScript() { FailsAt.clear(); }
    const TZnScopedLibrary Library{
        "Ole32.dll", {{"CoCreateInstance", reinterpret_cast<void*>(TCoCreateInstance(Create))}}};
};

} // namespace

TEST(Firewall, KeepsTheListOfPrograms)
{
    const TemporaryState State;
    const std::string Path = "/opt/some where/server";
    EXPECT_FALSE(ZnWindowsFirewallAppIsEnabled(Path));
    ZnWindowsFirewallRemoveApp(Path);
    EXPECT_TRUE(ZnWindowsFirewallEnableApp(Path));
    EXPECT_TRUE(ZnWindowsFirewallAppIsEnabled(Path));
    const std::string Text = State.Read("firewall.json");
    EXPECT_NE(Text.find("\"name\": \"server\""), std::string::npos) << Text;
    EXPECT_NE(Text.find("\"scope\": \"localSubnet\""), std::string::npos) << Text;

    State.Write("firewall.json", R"({"authorizedApplications": [{"path": "/a", "scope": "all"},
                                     {"path": "/b", "scope": "all", "enabled": false}]})");
    const std::string Before = State.Read("firewall.json");
    EXPECT_TRUE(ZnWindowsFirewallEnableApp("/a"));
    EXPECT_EQ(State.Read("firewall.json"), Before); // enabled already: nothing is written
    EXPECT_FALSE(ZnWindowsFirewallAppIsEnabled("/b"));
    EXPECT_TRUE(ZnWindowsFirewallEnableApp("/b"));
    EXPECT_TRUE(ZnWindowsFirewallAppIsEnabled("/b"));
    EXPECT_EQ(State.Read("firewall.json").find("localSubnet"), std::string::npos); // the scope stays
    ZnWindowsFirewallRemoveApp("/b");
    EXPECT_FALSE(ZnWindowsFirewallAppIsEnabled("/b"));
}

TEST(Firewall, ADamagedListIsToldBeforeAnythingIsAdded)
{
    const TemporaryState State;
    State.Write("firewall.json", "{");
    EXPECT_EQ(ErrorOf([] { ZnWindowsFirewallEnableApp("/x"); }), cNoList);
    EXPECT_FALSE(ZnWindowsFirewallAppIsEnabled("/x"));
    ZnWindowsFirewallRemoveApp("/x");
    EXPECT_EQ(State.Read("firewall.json"), "{");
    EXPECT_EQ(ErrorOf([] { ZnWindowsFirewallEnableApp("relative"); }),
              HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER));
}

TEST(Firewall, ANewEntryIsSetInItsOrderAndEveryFailureIsTold)
{
    const std::vector<std::string> Expected{
        "Manager", "LocalPolicy", "CurrentProfile", "AuthorizedApplications",
        "Item",    "Application", "Name b",         "Path /a/b",
        "Scope 1", "Enabled -1",  "IpVersion 2",    "Add"};
    {
        const TScript Script;
        EXPECT_TRUE(ZnWindowsFirewallEnableApp("/a/b"));
        EXPECT_EQ(TScript::Calls, Expected);
    }
    for (const std::string& Call : Expected) {
        const TScript Script;
        TScript::FailsAt = Call;
        EXPECT_EQ(ErrorOf([] { ZnWindowsFirewallEnableApp("/a/b"); }), Call == "Item" ? S_OK : cNoList)
            << Call;
        EXPECT_EQ(TScript::Calls.back(), Call == "Item" ? "Add" : Call);
    }
}

TEST(Firewall, StateAndRemovalTellFailuresByTheirRules)
{
    for (const std::string Call : {"", "Manager", "LocalPolicy", "CurrentProfile", "FirewallEnabled"}) {
        const TScript Script;
        TScript::FailsAt = Call;
        bool Enabled = false;
        const bool Raises = !Call.empty() && Call != "Manager"; // no manager means no firewall
        EXPECT_EQ(ErrorOf([&] { Enabled = ZnWindowsFirewallEnabled(); }), Raises ? cNoList : S_OK) << Call;
        EXPECT_EQ(Enabled, Call.empty()) << Call;
    }
    const TScript Script;
    TScript::FailsAt = "Remove";
    EXPECT_EQ(ErrorOf([] { ZnWindowsFirewallRemoveApp("/x"); }), S_OK);
    TScript::FailsAt = "Manager";
    EXPECT_EQ(ErrorOf([] { ZnWindowsFirewallRemoveApp("/x"); }), cNoList);
}
