#include "uZnIPHelper/NetworkAdapters.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <optional>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/sync/Deadline.h"
#include "tests/support/NetworkLab.h"
#include "tests/support/TemporaryFolder.h"
#include "uZnIPHelper/SystemFunctions.h"

namespace
{

/// h0 and h1 here, at the two cables of a DHCP server that gives addresses of 10.9.0.0/24 and 10.9.1.0/24.
class LeaseLab : public Zn::TNetworkLab
{
protected:
    void SetUp() override
    {
        TNetworkLab::SetUp();
        if (IsSkipped())
            return;
        for (const char* Program : {"/usr/sbin/dnsmasq", "/sbin/dhclient"}) {
            if (access(Program, X_OK) != 0)
                GTEST_SKIP() << Program << " is not installed";
        }
        FServer.emplace();
        for (const std::string Number : {"0", "1"}) {
            Connect("h" + Number, *FServer, "s" + Number);
            FServer->Run("ip addr add 10.9." + Number + ".1/24 dev s" + Number);
        }
        FServer->Run("dnsmasq --port=0 --conf-file=/dev/null --interface=s0,s1 --bind-interfaces "
                     "--dhcp-authoritative --no-ping --dhcp-option=6 --user=root "
                     "--dhcp-range=10.9.0.50,10.9.0.60,1h --dhcp-range=10.9.1.50,10.9.1.60,1h "
                     "--dhcp-leasefile=" +
                     Path("leases") + " --pid-file=" + Path("server.pid"));
    }
    void TearDown() override
    {
        for (const char* File : {"client.pid", "server.pid"}) {
            if (const pid_t Process = ProcessIn(File); Process > 0)
                kill(Process, SIGKILL);
        }
    }

    std::string Path(const std::string& AFile) const { return FFolder.Path(AFile); }
    std::string TextOf(const std::string& AFile) const
    {
        std::ifstream File(Path(AFile));
        return {std::istreambuf_iterator<char>(File), {}};
    }
    pid_t ProcessIn(const std::string& AFile) const
    {
        pid_t Process = 0;
        std::ifstream(Path(AFile)) >> Process;
        return Process;
    }

    /// Also false for one that has ended and that nobody asked for.
    static bool IsRunning(pid_t AProcess)
    {
        return std::ifstream("/proc/" + std::to_string(AProcess) + "/cmdline").get() != EOF;
    }

    /// A client with a configuration and a script of its own, which notes what it is run for.
    void StartClient(const std::string& AInterfaces)
    {
        std::ofstream(Path("script")) << "#!/bin/sh\necho $interface $reason >> " << Path("reasons")
                                      << "\nexec /sbin/dhclient-script \"$@\"\n";
        chmod(Path("script").c_str(), 0755);
        std::ofstream(Path("conf")) << "timeout 4;\ninitial-interval 1;\n";
        Run("dhclient -4 -1 -v -cf " + Path("conf") + " -sf " + Path("script") + " -lf " + Path("kept") +
            " -pf " + Path("client.pid") + " " + AInterfaces + " 2>/dev/null");
    }

    /// The IPv4 address of an interface; empty for none.
    static std::string AddressOf(const std::string& AName)
    {
        const TZnNetworkAdapters Adapters;
        const TZnIPAddressList& List = Adapters.FindAdapter(AName)->GetIPAddresses();
        return List.Count() > 0 ? List.GetAddress(0)->GetAsString() : std::string();
    }
    /// The same, of one that is to get it soon.
    static std::string NewAddressOf(const std::string& AName)
    {
        const Zn::Deadline End(20'000);
        while (AddressOf(AName).empty() && !End.HasPassed())
            poll(nullptr, 0, 20);
        return AddressOf(AName);
    }
    static std::uint32_t Release(const std::string& AName)
    {
        const TZnNetworkAdapters Adapters;
        IP_ADAPTER_INDEX_MAP Map{};
        Map.Index = Adapters.FindAdapter(AName)->GetAdapterIndex();
        return Zn::SystemFunctions().IpReleaseAddress(&Map);
    }
    static std::uint32_t Renew(const std::string& AName)
    {
        const TZnNetworkAdapters Adapters;
        return Adapters.FindAdapter(AName)->RenewIPV4Address();
    }

    const Zn::TemporaryFolder FFolder;
    std::optional<Zn::TLabHost> FServer;
};

TEST_F(LeaseLab, OfADhclientGoAndComeBack)
{
    StartClient("h0 h1");
    const std::string First = NewAddressOf("h0");
    const std::string Other = NewAddressOf("h1");
    ASSERT_EQ(First.substr(0, 7), "10.9.0.");
    ASSERT_EQ(Other.substr(0, 7), "10.9.1.");

    const pid_t Before = ProcessIn("client.pid");
    EXPECT_EQ(Release("h0"), std::uint32_t{NO_ERROR});
    EXPECT_EQ(AddressOf("h0"), "");
    EXPECT_EQ(TextOf("leases").find(First), std::string::npos) << "the server has it back";
    EXPECT_EQ(AddressOf("h1"), Other);
    EXPECT_FALSE(IsRunning(Before)) << "its client has ended";

    EXPECT_EQ(Renew("h0"), std::uint32_t{NO_ERROR});
    EXPECT_EQ(AddressOf("h0").substr(0, 7), "10.9.0.");
    EXPECT_NE(TextOf("leases").find(AddressOf("h0")), std::string::npos);
    EXPECT_NE(TextOf("reasons").find("h0 RELEASE"), std::string::npos) << "with its own script";
    const pid_t Again = ProcessIn("client.pid");
    EXPECT_TRUE(IsRunning(Again)) << "a client goes on";

    // While it runs, too; and its other interface isn't forgotten.
    Run("rm " + Path("reasons"));
    EXPECT_EQ(Renew("h0"), std::uint32_t{NO_ERROR});
    EXPECT_NE(AddressOf("h0"), "");
    EXPECT_EQ(NewAddressOf("h1"), Other);
    EXPECT_FALSE(IsRunning(Again));
    EXPECT_TRUE(IsRunning(ProcessIn("client.pid")));
}

TEST_F(LeaseLab, ThatNobodyGivesAreAnError)
{
    StartClient("h0");
    ASSERT_NE(AddressOf("h0"), "");
    EXPECT_EQ(Renew("h1"), std::uint32_t{ERROR_NOT_SUPPORTED}) << "nobody manages it";
    kill(ProcessIn("server.pid"), SIGKILL);
    EXPECT_EQ(Renew("h0"), std::uint32_t{ERROR_GEN_FAILURE});
    EXPECT_EQ(AddressOf("h0"), "");
}

} // namespace
