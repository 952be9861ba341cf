#include "platform/firewall/AuthorizedPrograms.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/firewall/Exports.h"
#include "platform/firewall/NetFw.h"
#include "tests/support/TemporaryState.h"

namespace Zn
{
namespace
{

constexpr HRESULT cNotFound = HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
constexpr HRESULT cInvalid = HRESULT_FROM_WIN32(ERROR_INVALID_PARAMETER);

HRESULT Create(const TGUID& AClass, const TGUID& AInterface, std::shared_ptr<IInterface>& AResult)
{
    return reinterpret_cast<TCoCreateInstance>(Ole32Exports()[0].Address)(AClass, CLSCTX_INPROC_SERVER,
                                                                          AInterface, AResult);
}

std::shared_ptr<INetFwAuthorizedApplication> Draft(const std::string& APath)
{
    std::shared_ptr<IInterface> Object;
    EXPECT_EQ(Create(IID_NetFwAuthorizedApplication, IID_INetFwAuthorizedApplication, Object), S_OK);
    auto Result = std::dynamic_pointer_cast<INetFwAuthorizedApplication>(Object);
    Result->put_ProcessImageFileName(APath);
    return Result;
}

std::shared_ptr<INetFwAuthorizedApplications> List()
{
    std::shared_ptr<IInterface> Object;
    std::shared_ptr<INetFwPolicy> Policy;
    std::shared_ptr<INetFwProfile> Profile;
    std::shared_ptr<INetFwAuthorizedApplications> Result;
    EXPECT_EQ(Create(IID_NetFwMgr, IID_INetFwMgr, Object), S_OK);
    std::dynamic_pointer_cast<INetFwMgr>(Object)->get_LocalPolicy(Policy);
    Policy->get_CurrentProfile(Profile);
    Profile->get_AuthorizedApplications(Result);
    return Result;
}

TEST(AuthorizedPrograms, TwoProcessesLoseNoEntry)
{
    constexpr int cEach = 25;
    const TemporaryState State;
    const auto AddMany = [](const std::string& APrefix) {
        int Failures = 0;
        for (int Number = 0; Number < cEach; ++Number)
            Failures += List()->Add(Draft(APrefix + std::to_string(Number))) != S_OK;
        return Failures;
    };
    const pid_t Child = fork();
    if (Child == 0)
        _exit(AddMany("/child/"));
    EXPECT_EQ(AddMany("/parent/"), 0);
    int Status = -1;
    waitpid(Child, &Status, 0);
    EXPECT_EQ(Status, 0);
    std::int32_t Count = 0;
    EXPECT_EQ(List()->get_Count(Count), S_OK);
    EXPECT_EQ(Count, 2 * cEach);
}

TEST(AuthorizedPrograms, ADamagedFileIsToldAndKept)
{
    const TemporaryState State;
    std::string LongPath = "/" + std::string(4095, 'a');
    for (const std::string& Text :
         {std::string(), std::string("[]"), std::string(R"({"authorizedApplications": {}})"),
          std::string(R"({"authorizedApplications": [{"name": "x"}]})"),
          std::string(R"({"authorizedApplications": [{"path": "relative"}]})"),
          std::string(R"({"authorizedApplications": [{"path": "/a\u0000b"}]})"),
          R"({"authorizedApplications": [{"path": ")" + LongPath + "\"}]}",
          std::string(R"({"authorizedApplications": [{"path": "/x", "scope": "moon"}]})"),
          std::string(R"({"authorizedApplications": [{"path": "/x", "enabled": 1}]})"),
          std::string(R"({"authorizedApplications": [{"path": "/x"})")}) {
        State.Write("firewall.json", Text);
        std::int32_t Count = 0;
        std::shared_ptr<INetFwAuthorizedApplication> Entry;
        EXPECT_EQ(List()->get_Count(Count), HRESULT_FROM_WIN32(ERROR_INVALID_DATA)) << Text;
        EXPECT_EQ(List()->Item("/x", Entry), HRESULT_FROM_WIN32(ERROR_INVALID_DATA)) << Text;
        EXPECT_EQ(List()->Add(Draft("/x")), HRESULT_FROM_WIN32(ERROR_INVALID_DATA)) << Text;
        EXPECT_EQ(State.Read("firewall.json"), Text);
    }
}

TEST(AuthorizedPrograms, EntriesLiveInTheListAndUnknownMembersStay)
{
    const TemporaryState State;
    State.Write("firewall.json",
                R"({"by": "hand", "authorizedApplications": [{"path": "/usr/bin/ä b", "ticket": 7}]})");
    std::shared_ptr<INetFwAuthorizedApplication> Entry;
    std::shared_ptr<INetFwAuthorizedApplication> Same;
    ASSERT_EQ(List()->Item("/usr/bin/ä b", Entry), S_OK);
    ASSERT_EQ(List()->Item("/usr/bin/ä b", Same), S_OK);
    EXPECT_EQ(Entry->put_Scope(NET_FW_SCOPE_LOCAL_SUBNET), S_OK);
    EXPECT_EQ(Entry->put_Enabled(VARIANT_FALSE), S_OK);
    EXPECT_EQ(Entry->put_Scope(7), cInvalid);
    EXPECT_EQ(Entry->put_ProcessImageFileName("/other"), HRESULT_FROM_WIN32(ERROR_NOT_SUPPORTED));
    std::int32_t Scope = 0;
    VARIANT_BOOL Enabled = VARIANT_TRUE;
    EXPECT_EQ(Same->get_Scope(Scope), S_OK);
    EXPECT_EQ(Same->get_Enabled(Enabled), S_OK);
    EXPECT_EQ(Scope, NET_FW_SCOPE_LOCAL_SUBNET);
    EXPECT_EQ(Enabled, VARIANT_FALSE);
    const std::string Text = State.Read("firewall.json");
    EXPECT_NE(Text.find("\"ticket\": 7"), std::string::npos) << Text;
    EXPECT_NE(Text.find("\"by\": \"hand\""), std::string::npos) << Text;
    EXPECT_EQ(List()->Remove("/usr/bin/ä b"), S_OK);
    EXPECT_EQ(List()->Remove("/usr/bin/ä b"), cNotFound);
    EXPECT_EQ(Entry->put_Name("late"), HRESULT_FROM_WIN32(ERROR_NOT_FOUND));
    for (const char* const Bad : {"", "relative", "/bytes\xff"})
        EXPECT_EQ(List()->Add(Draft(Bad)), cInvalid) << Bad;
}

TEST(AuthorizedPrograms, OnlyItsOwnClassesAndInterfacesAreMade)
{
    std::shared_ptr<IInterface> Object;
    EXPECT_EQ(Create(INetFwPolicy::IID, IID_INetFwMgr, Object), REGDB_E_CLASSNOTREG);
    EXPECT_EQ(Create(IID_NetFwMgr, INetFwPolicy::IID, Object), E_NOINTERFACE);
    EXPECT_EQ(Object, nullptr);
}

} // namespace
} // namespace Zn
