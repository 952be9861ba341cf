#include "platform/httpapi/config/ConfigurationStore.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/state/StateFolder.h"
#include "tests/support/TemporaryState.h"

namespace Zn
{
namespace
{

constexpr const char* cFile = "configuration.json";

std::uint32_t Reserve(const std::string& APrefix)
{
    return ConfigurationStore::Change([&](ConfigurationTables& ATables) {
        ATables.UrlReservations.push_back({APrefix, "D:", {}});
        return std::uint32_t{NO_ERROR};
    });
}

/// Runs AWork in a child; its result.
template <class TWork>
int InChild(TWork AWork)
{
    const pid_t Child = fork();
    if (Child == 0)
        _exit(AWork());
    int Status = 0;
    waitpid(Child, &Status, 0);
    return WIFEXITED(Status) ? WEXITSTATUS(Status) : -1;
}

TEST(ConfigurationStore, WritersInThreadsAndProcessesLoseNothing)
{
    constexpr int Processes = 4;
    constexpr int Changes = 10;
    const TemporaryState State;
    ASSERT_EQ(Reserve("first"), NO_ERROR);
    std::vector<pid_t> Children;
    for (int Process = 0; Process < Processes; ++Process) {
        Children.push_back(fork());
        if (Children.back() != 0)
            continue;
        std::atomic<int> Failures{0};
        const auto Work = [&](const std::string& AName) {
            for (int Change = 0; Change < Changes; ++Change)
                Failures += Reserve(AName + std::to_string(Change)) != NO_ERROR;
        };
        std::thread Other(Work, "b" + std::to_string(Process) + "-");
        Work("a" + std::to_string(Process) + "-");
        Other.join();
        _exit(Failures == 0 ? 0 : 1);
    }
    ConfigurationTables Tables;
    std::size_t Seen = 1;
    for (const pid_t Child : Children) {
        int Status = -1;
        while (waitpid(Child, &Status, WNOHANG) ==
               0) { // a reader meets whole files only, and never an older one
            ASSERT_EQ(ConfigurationStore::Load(Tables), NO_ERROR);
            ASSERT_GE(Tables.UrlReservations.size(), Seen);
            Seen = Tables.UrlReservations.size();
        }
        EXPECT_EQ(Status, 0);
    }
    ASSERT_EQ(ConfigurationStore::Load(Tables), NO_ERROR);
    EXPECT_EQ(Tables.UrlReservations.size(), 1U + Processes * 2 * Changes);
}

TEST(ConfigurationStore, WithoutAFileTheTablesAreEmptyAndTheFirstChangeMakesTheFolder)
{
    const TemporaryState State;
    setenv("ZN_STATE_DIR", (State.Path() / "a/b/").c_str(), 1);
    ConfigurationTables Tables;
    EXPECT_EQ(ConfigurationStore::Load(Tables), NO_ERROR);
    EXPECT_TRUE(Tables.UrlReservations.empty());
    EXPECT_EQ(Reserve("x"), NO_ERROR);
    EXPECT_NE(State.Read("a/b/configuration.json"), "");
}

TEST(ConfigurationStore, ADamagedFileIsToldAndKept)
{
    const TemporaryState State;
    ASSERT_EQ(Reserve("http://+:80/"), NO_ERROR);
    const std::string Whole = State.Read(cFile);
    std::vector<std::string> Damaged{
        "",
        "[]",
        Whole + "x",
        Whole + Whole,
        R"({"urlReservations": {}})",
        R"({"urlReservations": [{"prefix": "http://+:80/"}]})",
        R"({"ipListenList": ["localhost"]})",
        R"({"ipListenList": [1]})",
        R"({"sslBindings": [{"address": "0.0.0.0", "port": 0, "thumbprint": "0123456789012345678901234567890123456789"}]})",
        R"({"sslBindings": [{"address": "0.0.0.0", "port": 65979, "thumbprint": "0123456789012345678901234567890123456789"}]})",
        R"({"sslBindings": [{"address": "0.0.0.0", "port": 443, "thumbprint": "01"}]})",
        R"({"sslBindings": [{"address": "0.0.0.0", "port": 443, "thumbprint": "0123456789012345678901234567890123456789", "store": "../x"}]})",
        "{\"x\": \"\xff\"}",
        "{\"x\": " + std::string(100000, '[') + std::string(100000, ']') + "}",
    };
    for (std::size_t Length = 1; Length + 2 < Whole.size(); Length += 7) // torn: the last brace is missing
        Damaged.push_back(Whole.substr(0, Length));
    for (const std::string& Text : Damaged) {
        State.Write(cFile, Text);
        ConfigurationTables Tables;
        EXPECT_EQ(ConfigurationStore::Load(Tables), ERROR_INVALID_DATA) << Text.substr(0, 200);
        EXPECT_EQ(Reserve("http://+:81/"), ERROR_INVALID_DATA) << Text.substr(0, 200);
        EXPECT_EQ(State.Read(cFile), Text);
    }
}

TEST(ConfigurationStore, KeepsWhatItDoesNotKnowAndWhatACrashLeft)
{
    const TemporaryState State;
    State.Write(cFile, R"({"note": {"by": "hand", "n": 1.50}, "sslBindings": [
        {"address": "0.0.0.0", "port": 443, "thumbprint": "0123456789012345678901234567890123456789", "hsts": [true]}]})");
    State.Write(std::string(cFile) + ".new", "half a te");
    ASSERT_EQ(Reserve("http://+:80/"), NO_ERROR);
    const std::string Text = State.Read(cFile);
    EXPECT_NE(Text.find("\"by\": \"hand\""), std::string::npos) << Text;
    EXPECT_NE(Text.find("\"hsts\""), std::string::npos) << Text;
    EXPECT_EQ(FormatConfiguration(*ParseConfiguration(Text)), Text);
    EXPECT_FALSE(std::filesystem::exists(State.Path() / "configuration.json.new"));
}

TEST(ConfigurationStore, WhoMayNotWriteIsToldSoAndWhoRefusesAChangeWritesNothing)
{
    const TemporaryState State;
    ASSERT_EQ(Reserve("x"), NO_ERROR);
    const std::string Before = State.Read(cFile);
    EXPECT_EQ(ConfigurationStore::Change([](ConfigurationTables& ATables) {
                  ATables.UrlReservations.clear();
                  return std::uint32_t{ERROR_ALREADY_EXISTS};
              }),
              ERROR_ALREADY_EXISTS);
    std::filesystem::permissions(State.Path(), std::filesystem::perms(0555));
    const int Result = InChild([] {
        if (geteuid() == 0 && setuid(65534) != 0) // root may write everywhere
            return 200;
        ConfigurationTables Tables;
        if (ConfigurationStore::Load(Tables) != NO_ERROR || Tables.UrlReservations.size() != 1)
            return 201;
        return static_cast<int>(Reserve("y"));
    });
    EXPECT_EQ(Result, static_cast<int>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(State.Read(cFile), Before);
}

TEST(StateFolder, IsTheOneToldElseThatOfTheMachineOrTheUser)
{
    const TemporaryState State;
    EXPECT_EQ(StateFolder(), State.Path());
    const int Failures = InChild([] {
        unsetenv("ZN_STATE_DIR");
        int Result = geteuid() == 0 && StateFolder() != "/var/lib/zn" ? 1 : 0;
        if (geteuid() == 0 && setuid(65534) != 0)
            return 200;
        setenv("HOME", "/home/somebody", 1);
        unsetenv("XDG_STATE_HOME");
        Result += StateFolder() != "/home/somebody/.local/state/zn" ? 2 : 0;
        setenv("XDG_STATE_HOME", "/x", 1);
        Result += StateFolder() != "/x/zn" ? 4 : 0;
        return Result;
    });
    EXPECT_EQ(Failures, 0);
}

} // namespace
} // namespace Zn
