#include <csignal>
#include <gtest/gtest.h>
#include <sys/un.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/RawClient.h"

namespace Zn
{
namespace
{

class ServiceManager : public testing::Test
{
protected:
    ServiceManager() { Place.Write("site/page.txt", "a page"); }
    std::string Site() const { return (Place.Path() / "site").string(); }

    TTemporaryFolder Place;
};

/// A manager's end of NOTIFY_SOCKET.
class TNotifications
{
public:
    explicit TNotifications(std::string APath)
        : Path(std::move(APath)), FFd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un Address{};
        Address.sun_family = AF_UNIX;
        Path.copy(Address.sun_path, sizeof Address.sun_path - 1);
        if (bind(FFd, reinterpret_cast<sockaddr*>(&Address), sizeof Address) != 0)
            throw std::runtime_error("bind failed");
    }
    ~TNotifications() { close(FFd); }
    TNotifications(const TNotifications&) = delete;
    TNotifications& operator=(const TNotifications&) = delete;

    /// The next message; empty when none comes.
    std::string Next() const
    {
        pollfd Entry{FFd, POLLIN, 0};
        char Text[512];
        const ssize_t Length = poll(&Entry, 1, std::chrono::milliseconds(cPatience).count()) == 1
                                   ? recv(FFd, Text, sizeof Text, 0)
                                   : 0;
        return {Text, static_cast<std::size_t>(std::max<ssize_t>(Length, 0))};
    }

    const std::string Path;

private:
    int FFd;
};

TEST_F(ServiceManager, ServesOnTheSocketThatItWasStartedFor)
{
    Place.Write("state/configuration.json", "damaged"); // addresses to listen on aren't asked for
    const std::string Address = "127.0.0.1:" + std::to_string(FreePort());
    TChildProcess Process({"systemd-socket-activate", "-l", Address, "--fdname=web", "-E",
                           "ZN_STATE_DIR=" + (Place.Path() / "state").string(), ZN_PROGRAM, "serve", Site()});
    ASSERT_TRUE(Process.WaitForErrors("Listening on", cPatience)) << Process.Errors();
    EXPECT_EQ(Curl({"http://" + Address + "/page.txt"}).Content, "a page");
    EXPECT_EQ(Curl({"http://" + Address + "/page.txt"}).Content, "a page");
    EXPECT_TRUE(Process.WaitForOutput("http://*" + Address.substr(9) + "/", cPatience)) << Process.Output();
    Process.Signal(SIGTERM);
    EXPECT_EQ(Process.WaitForExit(cPatience), 0);
}

TEST_F(ServiceManager, RefusesWhatIsNoListeningSocketOfIts)
{
    // Starts zn with something as descriptor 3, as a manager would.
    constexpr const char* cLauncher = R"(
import os, socket, sys
kind, port, command = sys.argv[1], int(sys.argv[2]), sys.argv[3:]
made = {"file": lambda: open("/dev/null"),
        "local": lambda: socket.socket(socket.AF_UNIX),
        "datagram": lambda: socket.socket(type=socket.SOCK_DGRAM),
        "idle": lambda: socket.socket(),
        "other port": lambda: socket.create_server(("127.0.0.1", 0)),
        "nothing": lambda: socket.socket(),
        "number": lambda: socket.socket()}[kind]()
os.dup2(made.fileno(), 3)
os.set_inheritable(3, True)
os.environ.update(LISTEN_PID=str(os.getpid()), LISTEN_FDS={"nothing": "2", "number": "-1"}.get(kind, "1"))
os.execv(command[0], command)
)";
    const std::string Port = std::to_string(FreePort());
    for (const auto& [Kind, Text] :
         std::map<std::string, std::string>{{"file", "not a socket"},
                                            {"local", "address family"},
                                            {"datagram", "type of socket"},
                                            {"idle", "argument of the socket call"},
                                            {"other port", "no --bind uses that port"},
                                            {"nothing", "descriptor 3"},
                                            {"number", "no number that can be"}}) {
        TChildProcess Process({"python3", "-c", cLauncher, Kind, Port, ZN_PROGRAM, "serve", Site(), "--bind",
                               "http://localhost:" + Port + "/"});
        EXPECT_EQ(Process.WaitForExit(cPatience), 1) << Kind;
        EXPECT_NE(Process.Errors().find(Text), std::string::npos) << Kind << ": " << Process.Errors();
    }
}

TEST_F(ServiceManager, IsToldWhenTheSiteIsServedAndWhenItStops)
{
    const TNotifications Manager((Place.Path() / "notify").string());
    const std::string Root = "http://localhost:" + std::to_string(FreePort()) + "/";
    TChildProcess Process({"env", "NOTIFY_SOCKET=" + Manager.Path, "LISTEN_PID=1", "LISTEN_FDS=1", ZN_PROGRAM,
                           "serve", Site(), "--bind", Root}); // the sockets are somebody else's
    EXPECT_EQ(Manager.Next().find("READY=1\nSTATUS=Serving "), 0U) << Process.Errors();
    EXPECT_EQ(Curl({Root + "page.txt"}).Content, "a page");
    Process.Signal(SIGTERM);
    EXPECT_EQ(Manager.Next().find("STOPPING=1\nSTATUS="), 0U);
    EXPECT_EQ(Process.WaitForExit(cPatience), 0);
}

} // namespace
} // namespace Zn
