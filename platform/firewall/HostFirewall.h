#pragma once

#include <string>
#include <string_view>

namespace Zn
{

/// What a source could tell.
enum class FirewallState { Unknown, Off, On };

/// Whether the host filters what comes in. What the kernel's packet filter holds decides (HostRuleset).
/// Where this process may not look at it (CAP_NET_ADMIN), or rules of the older iptables are loaded, whose
/// content only that program can read, the setting of ufw decides. Asked anew at every call. Any thread.
bool HostFirewallEnabled();

/// nftables in this process's network namespace. On: an input chain of type filter that drops by its policy
/// or has a rule, in a table that isn't dormant. Unknown: this process may not look, or the kernel has no
/// nftables.
FirewallState HostRuleset();

/// Whether a text such as /etc/ufw/ufw.conf says ENABLED=yes.
bool UfwSettingEnabled(std::string_view AText);

} // namespace Zn
