#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Zn
{

/// What "\n", "\r", "\t", "\0", "\\" and "\xHH" in a text stand for; nothing where another letter follows a
/// backslash.
std::optional<std::string> ResolveEscapes(const std::string& AText);

struct TTcpCommand
{
    std::string Host;
    std::int32_t Port = 0;
    std::string Text;
    std::string Terminator = "\\n";
    std::int32_t TimeOut = 10000; // ms
};

// What the commands do. Each prints its result, or a line on standard error, and gives the exit code.
int SendTcpCommand(const TTcpCommand& ACommand);

int ShowFirewall(bool AJson);
/// APath may be relative; a link stands for itself.
int AllowProgram(const std::string& APath);
int RemoveProgram(const std::string& APath);
/// Exit code 1 where the program isn't allowed.
int CheckProgram(const std::string& APath);

int ListWirelessInterfaces(bool AJson);
/// On one interface, or on all for an empty name; for one network, or for all.
int ScanForNetworks(const std::string& AInterface, const std::string& ASsid);

} // namespace Zn
