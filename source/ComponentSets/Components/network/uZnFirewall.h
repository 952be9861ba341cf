#pragma once

/// Whether the host's firewall is on, and the list of programs that are allowed through it.
///
/// The list is kept in the state folder and records what is wanted: the system's packet filter doesn't read
/// it, so that taking a program off the list closes nothing by itself.
///
/// Threads:   any. Programs may use the list at the same time.
/// Errors:    EOleSysError where an object of the firewall can't be made or fails, such as with a damaged
///            list (13) or without the right to write it (5).

#include <memory>
#include <string>

#include "platform/Api.h"
#include "platform/firewall/NetFw.h"
#include "uZnFirewall/OleCheck.h"

/// The firewall's manager object.
ZN_API std::shared_ptr<INetFwMgr> ZnWindowsFirewall();

/// True when the host filters what comes in. False as well where there is no manager to ask.
ZN_API bool ZnWindowsFirewallEnabled();

/// APath is a program's full path in all three. True when it is in the list and enabled.
ZN_API bool ZnWindowsFirewallAppIsEnabled(const std::string& APath);

/// Enables the program's entry, or adds one for the local subnet. True.
ZN_API bool ZnWindowsFirewallEnableApp(const std::string& APath);

/// Nothing happens where the program isn't listed.
ZN_API void ZnWindowsFirewallRemoveApp(const std::string& APath);
