#pragma once

/// The subcommands of zn. Each has a file of its own, which alone knows the command line library.

namespace CLI
{
class App;
}

namespace Zn
{

// What every command returns to the shell.
inline constexpr int cExitOk = 0;
inline constexpr int cExitFailure = 1; // it was asked for rightly, and didn't work
inline constexpr int cExitUsage = 2;   // it was asked for wrongly

/// All of them, and what belongs to the program itself. AApp is new; running a command sets AExitCode, which
/// has to outlive AApp's parse.
void AddCommands(CLI::App& AApp, int& AExitCode);

/// Adds the command with its options; running it sets AExitCode, which has to outlive AApp's parse.
void AddAwsCommand(CLI::App& AApp, int& AExitCode);
void AddConfigCommand(CLI::App& AApp, int& AExitCode);
void AddFirewallCommand(CLI::App& AApp, int& AExitCode);
void AddPipeCommand(CLI::App& AApp, int& AExitCode);
void AddJwtCommand(CLI::App& AApp, int& AExitCode);
/// request, and get, head, post, put, delete and options.
void AddRequestCommands(CLI::App& AApp, int& AExitCode);
void AddS3Command(CLI::App& AApp, int& AExitCode);
/// adapters, ping, resolve, wol, hostname, ips.
void AddNetworkCommands(CLI::App& AApp, int& AExitCode);
void AddServeCommand(CLI::App& AApp, int& AExitCode);
void AddTcpCommand(CLI::App& AApp, int& AExitCode);
void AddUsersCommand(CLI::App& AApp, int& AExitCode);
void AddWlanCommand(CLI::App& AApp, int& AExitCode);

} // namespace Zn
