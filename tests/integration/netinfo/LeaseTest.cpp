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
                     Path("leases") + " --pid-file=" + Path("server.pid") +
                     " --log-facility=" + Path("server.log"));
    }
    void TearDown() override
    {
        for (const char* File : {"client.pid", "manager.pid", "bus.pid", "server.pid"}) {
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

    /// A program that manages interfaces, with a message bus and state folders of its own. It is asked for
    /// over the bus that the environment names.
    void StartManager(const std::string& AProgram, const std::string& APreparation)
    {
        chmod(FFolder.Path().c_str(), 0755); // some managers give up being root
        std::ofstream(Path("bus.conf"))
            << "<busconfig><type>system</type><listen>unix:path=" << Path("bus")
            << "</listen><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
               "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/></policy></busconfig>";
        setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + Path("bus")).c_str(), 1);
        Run("dbus-daemon --fork --print-pid=3 --nopidfile --config-file=" + Path("bus.conf") + " 3>" +
            Path("bus.pid") + " 2>" + Path("bus.log"));
        Run("unshare -m sh -ec \"mount -t sysfs -o ro sysfs /sys; mount -t tmpfs tmpfs /run; " +
            APreparation + "; exec " + AProgram + "\" > " + Path("manager.log") + " 2>&1 & echo $! > " +
            Path("manager.pid"));
    }

    /// The IPv4 address of an interface; empty for none.
    static std::string AddressOf(const std::string& AName)
    {
        const TZnNetworkAdapters Adapters;
        const TZnIPAddressList& List = Adapters.FindAdapter(AName)->GetIPAddresses();
        const bool IsThere = List.Count() > 0 && List.GetAddress(0)->GetIPType() == ipV4;
        return IsThere ? List.GetAddress(0)->GetAsString() : std::string();
    }
    /// What others do takes its time. True when it is done.
    template <typename TRule>
    static bool IsSoon(TRule ARule)
    {
        const Zn::Deadline End(30'000);
        while (!ARule() && !End.HasPassed())
            poll(nullptr, 0, 20);
        return ARule();
    }
    static std::string NewAddressOf(const std::string& AName)
    {
        IsSoon([&] { return !AddressOf(AName).empty(); });
        return AddressOf(AName);
    }
    /// How often the server has confirmed a lease.
    std::size_t Confirmations() const
    {
        const std::string Log = TextOf("server.log");
        std::size_t Count = 0;
        for (std::size_t At = 0; (At = Log.find("DHCPACK", At)) != std::string::npos; ++At)
            ++Count;
        return Count;
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

    // A client notes its lease behind the address, and can give back only what it has noted.
    const auto IsNoted = [&](const std::string& A) { return TextOf("kept").find(A) != std::string::npos; };
    ASSERT_TRUE(IsSoon([&] { return IsNoted(First) && IsNoted(Other); }));

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

TEST_F(LeaseLab, OfNetworkdAreAskedForAnew)
{
    if (access("/lib/systemd/systemd-networkd", X_OK) != 0)
        GTEST_SKIP() << "systemd-networkd is not installed";
    std::ofstream(Path("h0.network")) << "[Match]\nName=h0\n[Network]\nDHCP=ipv4\n";
    StartManager("/lib/systemd/systemd-networkd",
                 "mkdir -p /run/systemd/network; cp " + Path("h0.network") + " /run/systemd/network");
    ASSERT_EQ(NewAddressOf("h0").substr(0, 7), "10.9.0.") << TextOf("manager.log");
    const std::size_t Before = Confirmations();
    EXPECT_EQ(Release("h0"), std::uint32_t{ERROR_NOT_SUPPORTED}) << "it has no such order";
    EXPECT_EQ(Renew("h0"), std::uint32_t{NO_ERROR});
    EXPECT_TRUE(IsSoon([&] { return Confirmations() > Before; })) << TextOf("manager.log");
    EXPECT_NE(AddressOf("h0"), "");
    EXPECT_EQ(Renew("h1"), std::uint32_t{ERROR_NOT_SUPPORTED}) << "it leaves that one alone";
}

TEST_F(LeaseLab, OfNetworkManagerGoAndComeBack)
{
    if (access("/usr/sbin/NetworkManager", X_OK) != 0)
        GTEST_SKIP() << "NetworkManager is not installed";
    std::ofstream(Path("nm.conf")) << "[main]\nplugins=keyfile\ndhcp=internal\ndns=none\n"
                                      "auth-polkit=false\n[keyfile]\nunmanaged-devices=interface-name:h1\n";
    StartManager(
        "NetworkManager --no-daemon --config-dir=/run/none --system-config-dir=/run/none "
        "--config=" +
            Path("nm.conf") + " --intern-config=" + Path("nm.intern") + " --state-file=" + Path("nm.state") +
            " --pid-file=" + Path("nm.pid"),
        "mkdir -p /run/NetworkManager /var/lib/NetworkManager; mount -t tmpfs tmpfs /var/lib/NetworkManager");
    ASSERT_EQ(NewAddressOf("h0").substr(0, 7), "10.9.0.") << TextOf("manager.log");
    EXPECT_EQ(Release("h0"), std::uint32_t{NO_ERROR});
    EXPECT_TRUE(IsSoon([] { return AddressOf("h0").empty(); }));
    const std::size_t Before = Confirmations();
    EXPECT_EQ(Renew("h0"), std::uint32_t{NO_ERROR});
    EXPECT_TRUE(IsSoon([&] { return Confirmations() > Before && !AddressOf("h0").empty(); }));
    EXPECT_EQ(Renew("h1"), std::uint32_t{ERROR_NOT_SUPPORTED}) << "it leaves that one alone";
}

} // namespace
