#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/Text.h"
#include "tests/integration/zn/ServedSite.h"

namespace Zn
{
namespace
{

struct TOutcome
{
    int Code = -1;
    std::string Output;
    std::string Errors;
};

TOutcome RunZn(std::vector<std::string> AArguments)
{
    AArguments.insert(AArguments.begin(), ZN_PROGRAM);
    TChildProcess Process(AArguments);
    TOutcome Result;
    Result.Code = Process.WaitForExit(cPatience).value_or(-1);
    Result.Output = Process.Output();
    Result.Errors = Process.Errors();
    return Result;
}

TEST(Services, TcpSendsEscapedBytesAndPrintsTheAnswer)
{
    const int Listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in Address{};
    Address.sin_family = AF_INET;
    Address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t Length = sizeof Address;
    ASSERT_EQ(bind(Listener, reinterpret_cast<sockaddr*>(&Address), Length), 0);
    ASSERT_EQ(listen(Listener, 1), 0);
    ASSERT_EQ(getsockname(Listener, reinterpret_cast<sockaddr*>(&Address), &Length), 0);
    std::string Command;
    std::thread Server([&] {
        const int Connection = accept4(Listener, nullptr, nullptr, SOCK_CLOEXEC);
        char Buffer[100];
        Command.assign(Buffer,
                       static_cast<std::size_t>(std::max<ssize_t>(recv(Connection, Buffer, 100, 0), 0)));
        send(Connection, "+PONG;", 6, MSG_NOSIGNAL);
        recv(Connection, Buffer, 100, 0); // until the client goes
        close(Connection);
    });
    const TOutcome Result = RunZn({"tcp", "127.0.0.1", std::to_string(ntohs(Address.sin_port)),
                                   R"(PING\x00\\\r\n)", "--terminator", ";"});
    shutdown(Listener, SHUT_RDWR);
    Server.join();
    close(Listener);
    EXPECT_EQ(Command, std::string("PING\0\\\r\n", 8));
    EXPECT_EQ(Result.Output, "+PONG;");
    EXPECT_EQ(Result.Code, 0) << Result.Errors;

    EXPECT_EQ(RunZn({"tcp", "127.0.0.1", std::to_string(FreePort()), "x"}).Code, 1);
    for (const std::vector<std::string>& Wrong :
         {std::vector<std::string>{"1", R"(\q)"}, {"1", R"(\x4)"}, {"1", "\\"}, {"0", "x"}, {"65536", "x"}})
        EXPECT_EQ(RunZn({"tcp", "127.0.0.1", Wrong[0], Wrong[1]}).Code, 2) << Wrong[1];
}

TEST(Services, FirewallKeepsItsListInTheStateFolder)
{
    const TTemporaryFolder Place;
    setenv("ZN_STATE_DIR", (Place.Path() / "state").c_str(), 1);
    EXPECT_EQ(RunZn({"firewall", "check", "/bin/sh"}).Code, 1);
    EXPECT_EQ(RunZn({"firewall", "allow", "/usr/../bin//sh"}).Code, 0);
    const TOutcome Checked = RunZn({"firewall", "check", "/bin/sh"});
    EXPECT_EQ(Checked.Output, "/bin/sh is allowed.\n");
    EXPECT_EQ(Checked.Code, 0);
    EXPECT_EQ(RunZn({"firewall", "remove", "/bin/sh"}).Code, 0);
    EXPECT_EQ(RunZn({"firewall", "check", "/bin/sh"}).Code, 1);
    EXPECT_TRUE(RunZn({"firewall", "status", "--json"}).Output.starts_with("{\"enabled\":"));
    Place.Write("state/firewall.json", "{");
    const TOutcome Damaged = RunZn({"firewall", "allow", "/bin/sh"});
    EXPECT_EQ(Damaged.Code, 1);
    EXPECT_TRUE(ContainsText(Damaged.Errors, "firewall.json is damaged")) << Damaged.Errors;
    setenv("ZN_STATE_DIR", "/dev/null/none", 1);
}

TEST(Services, WlanListsOrSaysWhyNot)
{
    const TOutcome Result = RunZn({"wlan", "list", "--json"});
    if (Result.Code == 0)
        EXPECT_TRUE(Result.Output.starts_with("[")) << Result.Output;
    else
        EXPECT_EQ(Result.Errors, "zn wlan: this system's kernel has no wireless networks\n");
    EXPECT_EQ(RunZn({"wlan", "scan", "--ssid", std::string(33, 'x')}).Code, 2);
}

} // namespace
} // namespace Zn
