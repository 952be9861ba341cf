#include "uZnIPHelper/NameResolution.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <fstream>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/mount.h>

#include "platform/errors/Errors.h"
#include "tests/support/NetworkLab.h"
#include "tests/support/TemporaryFolder.h"
#include "uZnIPHelper/HostFacts.h"
#include "uZnIPHelper/Ping.h"

namespace
{

using TClock = std::chrono::steady_clock;

/// A name server of this network namespace, whose answer depends on the name's first letter.
class TNameServer
{
public:
    TNameServer()
    {
        sockaddr_in Address{};
        Address.sin_family = AF_INET;
        Address.sin_port = htons(53);
        Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(bind(FSocket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)), 0);
        FThread = std::thread([this] { Serve(); });
    }
    ~TNameServer()
    {
        shutdown(FSocket, SHUT_RDWR);
        FThread.join();
        close(FSocket);
    }
    TNameServer(const TNameServer&) = delete;
    TNameServer& operator=(const TNameServer&) = delete;

private:
    void Serve() const
    {
        std::array<char, 512> Query;
        sockaddr_in From{};
        socklen_t Length = sizeof(From);
        for (ssize_t Size; (Size = recvfrom(FSocket, Query.data(), Query.size(), 0,
                                            reinterpret_cast<sockaddr*>(&From), &Length)) > 0;) {
            const std::string Answer = AnswerTo({Query.data(), static_cast<std::size_t>(Size)});
            if (!Answer.empty())
                sendto(FSocket, Answer.data(), Answer.size(), 0, reinterpret_cast<const sockaddr*>(&From),
                       Length);
        }
    }

    static std::string AnswerTo(std::string AQuery)
    {
        constexpr std::size_t cHeadSize = 12;
        const char First = AQuery[cHeadSize + 1];
        if (First == 'n') // never
            return {};
        // The question ends with its name's last, empty part, its type and its class.
        AQuery.resize(AQuery.find('\0', cHeadSize) + 5);
        AQuery[2] = '\x81';                                                 // an answer
        AQuery[3] = First == 'b' ? '\x82' : First == 'a' ? '\x83' : '\x80'; // broken, absent, late
        AQuery.replace(6, 6, std::string("\0\0\0\0\0\0", 6));
        const bool IsForV4 = AQuery[AQuery.size() - 3] == 1;
        if (First == 'l')
            poll(nullptr, 0, 600);
        if (First != 'l' || !IsForV4)
            return AQuery;
        AQuery[7] = 1;
        return AQuery + std::string("\xC0\x0C\0\x01\0\x01\0\0\0\x3C\0\x04\x7F\x07\x07\x07", 16);
    }

    const int FSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    std::thread FThread;
};

class NamesLab : public Zn::TNetworkLab
{
protected:
    void SetUp() override
    {
        TNetworkLab::SetUp();
        if (IsSkipped())
            return;
        const std::string File =
            FFolder.Write("resolv.conf", "nameserver 127.0.0.1\noptions timeout:1 attempts:2\n");
        if (unshare(CLONE_NEWNS) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(File.c_str(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr) != 0)
            GTEST_SKIP() << "no resolv.conf of its own: " << std::strerror(errno);
    }
    void TearDown() override { umount2("/etc/resolv.conf", MNT_DETACH); }

    const Zn::TemporaryFolder FFolder;
};

TEST_F(NamesLab, WaitNoLongerThanTheResolverMay)
{
    const TNameServer Server;
    EXPECT_EQ(ZnResolveHostName("late.example"), "127.7.7.7");
    EXPECT_EQ(Ping("late.example", 2000, ipV4), prSuccess);

    struct TRow
    {
        const char* Name;
        std::uint32_t Error;
        int AtLeast; // ms, for one family
    };
    for (const auto& [Name, Error, AtLeast] :
         {TRow{"absent.example", WSAHOST_NOT_FOUND, 0}, TRow{"broken.example", WSATRY_AGAIN, 0},
          TRow{"never.example", WSATRY_AGAIN, 2000}}) {
        const auto Start = TClock::now();
        EXPECT_EQ(ZnResolveHostName(Name), "") << Name;
        const auto Taken = TClock::now() - Start;
        EXPECT_EQ(GetLastError(), Error) << Name;
        EXPECT_GE(Taken, 2 * std::chrono::milliseconds(AtLeast)) << Name;
        EXPECT_LT(Taken, std::chrono::seconds(20)) << Name;
        EXPECT_EQ(Ping(Name, 2000, ipV4), prGeneralFailure) << Name;
        EXPECT_EQ(GetLastError(), Error) << Name << ", which was never pinged";
    }
}

TEST_F(NamesLab, AreNotNeededForThisHostsOwn)
{
    const auto Start = TClock::now(); // nobody listens at the name server's port
    EXPECT_FALSE(ZnGetHostName().empty());
    EXPECT_EQ(ZnResolveHostName("10.1.2.3"), "10.1.2.3");
    EXPECT_LT(TClock::now() - Start, std::chrono::seconds(1));
    EXPECT_EQ(ZnResolveHostName("any.example"), "");
    EXPECT_EQ(GetLastError(), std::uint32_t{WSATRY_AGAIN});
}

} // namespace
