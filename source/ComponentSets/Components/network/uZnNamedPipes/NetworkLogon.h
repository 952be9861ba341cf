#pragma once

#include <string>

#include "platform/Api.h"

/// Logs on to another machine, for the pipes that this process opens there. An empty user is the
/// present one, an empty password asks the agent and the default keys. Raises EZnNamedPipe with the number
/// and text of the platform (5, 53, 86, 1326 ...). Waits for the network. Any thread.
ZN_API void WNetAddConnection2(const std::string& AServerName, const std::string& AUserName,
                               const std::string& APassword);

/// Ends that logon; pipes that are open stay open. Never raises. Any thread.
ZN_API void WNetCancelConnection2W(const std::string& AServerName);
