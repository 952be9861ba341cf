#include "platform/firewall/HostFirewall.h"

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zn
{
namespace
{

constexpr int cNoNamespace = 100;
constexpr int cNoTool = 101;

bool EnterNamespace()
{
    if (geteuid() == 0)
        return unshare(CLONE_NEWNET) == 0;
    const uid_t User = geteuid();
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    const std::string Map = "0 " + std::to_string(User) + " 1";
    const int File = open("/proc/self/uid_map", O_WRONLY | O_CLOEXEC);
    const bool Written = File >= 0 && write(File, Map.data(), Map.size()) == static_cast<ssize_t>(Map.size());
    close(File);
    return Written;
}

/// The state behind nft rules in a network namespace of a child; -1 where that can't be tried.
int StateBehind(const std::string& ARules, bool AMayLook = true)
{
    const pid_t Child = fork();
    if (Child == 0) {
        if (!EnterNamespace())
            _exit(cNoNamespace);
        if (!ARules.empty() &&
            std::system(("PATH=$PATH:/usr/sbin:/sbin nft '" + ARules + "' >/dev/null 2>&1").c_str()) != 0)
            _exit(cNoTool);
        if (!AMayLook && setuid(65534) != 0)
            _exit(cNoNamespace);
        _exit(static_cast<int>(HostRuleset()));
    }
    int Status = 0;
    waitpid(Child, &Status, 0);
    const int Code = WIFEXITED(Status) ? WEXITSTATUS(Status) : cNoNamespace;
    return Code >= cNoNamespace ? -1 : Code;
}

TEST(HostFirewall, FollowsTheRulesetOfTheHost)
{
    if (StateBehind("add table inet t") < 0)
        GTEST_SKIP() << "needs network namespaces, nftables in the kernel, and nft";
    const std::string Chain = "add table inet t; add chain inet t c { type filter hook input priority 0; }; ";
    struct TCase
    {
        const char* Name;
        std::string Rules;
        FirewallState Expected;
    };
    const TCase Cases[] = {
        {"nothing", "", FirewallState::Off},
        {"an empty chain", Chain, FirewallState::Off},
        {"a chain with a rule", Chain + "add rule inet t c tcp dport 1 drop", FirewallState::On},
        {"a policy", "add table ip6 t; add chain ip6 t c { type filter hook input priority 0; policy drop; }",
         FirewallState::On},
        {"a dormant table",
         "add table inet t { flags dormant; }; add chain inet t c { type filter hook input priority 0; "
         "policy drop; }",
         FirewallState::Off},
        {"rules for what leaves",
         "add table ip t; add chain ip t c { type filter hook output priority 0; policy drop; }",
         FirewallState::Off},
        {"a chain nobody comes to", "add table ip t; add chain ip t c; add rule ip t c drop",
         FirewallState::Off},
    };
    for (const TCase& Case : Cases)
        EXPECT_EQ(StateBehind(Case.Rules), static_cast<int>(Case.Expected)) << Case.Name;
    if (geteuid() == 0) {
        EXPECT_EQ(StateBehind(Chain, false), static_cast<int>(FirewallState::Unknown));
    }
}

TEST(HostFirewall, ReadsTheSettingOfUfw)
{
    for (const char* const On :
         {"ENABLED=yes", "# x\nENABLED=yes\nLOGLEVEL=low\n", "ENABLED=no\nENABLED=\"yes\" \r\n"})
        EXPECT_TRUE(UfwSettingEnabled(On)) << On;
    for (const char* const Off :
         {"", "ENABLED=no", "#ENABLED=yes\n", "ENABLED=yes\nENABLED=no", "XENABLED=yes"})
        EXPECT_FALSE(UfwSettingEnabled(Off)) << Off;
}

} // namespace
} // namespace Zn
