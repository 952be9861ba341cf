#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "uZnIPHelper.h"

namespace Zn
{

/// The families that a command is about; none means both, IPv4 first.
using TFamilies = std::vector<TZnIPAddrType>;

struct TPingCommand
{
    std::string Host;
    TFamilies Families;
    int Count = 4;
    std::int32_t TimeOut = 1000; // ms
};

/// Why a name gave no address just now, as GetLastError has it.
std::string WhyNoAddress();

// What the commands do. Each prints its result, or a line on standard error, and gives the exit code.
int ShowAdapters(bool AJson);
/// Shows them, then a line for each change, until SIGINT or SIGTERM.
int WatchAdapters(bool AJson);
/// Exit code 1 where nothing answered.
int PingHost(const TPingCommand& ACommand);
int ResolveHost(const std::string& AHost, const TFamilies& AFamilies);
int WakeHost(const std::string& AMacAddress, const std::string& AIPAddress);
int ShowHostName();
int ShowLocalIPs(const TFamilies& AFamilies);

} // namespace Zn
