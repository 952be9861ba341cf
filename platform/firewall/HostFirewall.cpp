#include "platform/firewall/HostFirewall.h"

#include <algorithm>

#include "platform/errors/Errors.h"
#include "platform/state/StateFolder.h"

namespace Zn
{
namespace
{

constexpr std::size_t MaxLength = 1 << 16;

/// The tables that the older iptables has loaded: one name a line. Only root may read the names.
bool HasOlderRules()
{
    for (const char* const Path : {"/proc/net/ip_tables_names", "/proc/net/ip6_tables_names"}) {
        std::string Text;
        if (ReadFile(Path, MaxLength, Text) == NO_ERROR && Text.find("filter") != std::string::npos)
            return true;
    }
    return false;
}

bool UfwEnabled()
{
    std::string Text;
    return ReadFile("/etc/ufw/ufw.conf", MaxLength, Text) == NO_ERROR && UfwSettingEnabled(Text);
}

} // namespace

bool HostFirewallEnabled()
{
    switch (HostRuleset()) {
    case FirewallState::On:
        return true;
    case FirewallState::Off:
        return HasOlderRules() && UfwEnabled();
    case FirewallState::Unknown:
        break;
    }
    return UfwEnabled();
}

bool UfwSettingEnabled(std::string_view AText)
{
    // The file is read by a shell: the last assignment wins.
    bool Enabled = false;
    while (!AText.empty()) {
        const std::size_t End = std::min(AText.find('\n'), AText.size());
        std::string_view Line = AText.substr(0, End);
        AText.remove_prefix(std::min(End + 1, AText.size()));
        while (!Line.empty() && (Line.back() == '\r' || Line.back() == ' '))
            Line.remove_suffix(1);
        constexpr std::string_view Name = "ENABLED=";
        if (Line.starts_with(Name)) {
            Line.remove_prefix(Name.size());
            Enabled = Line == "yes" || Line == "\"yes\"" || Line == "'yes'";
        }
    }
    return Enabled;
}

} // namespace Zn
