#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/pipes/ssh/SshSession.h"

namespace Zn
{

/// The logons at other hosts that this process has asked for. Any thread.

/// Logs on and remembers it. The session serves the next pipe of that host.
std::uint32_t AddLogon(const std::string& AHost, SshCredentials ACredentials);

/// Takes one of the host's logons back; with the last one its password is forgotten.
std::uint32_t CancelLogon(const std::string& AHost);

/// A session for a pipe: the one that a logon left, one by its credentials, else one of the present user.
std::uint32_t OpenSession(const std::string& AHost, std::unique_ptr<SshSession>& ASession);

} // namespace Zn
