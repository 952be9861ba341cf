#include "tools/zn/Commands.h"

#include <CLI/CLI.hpp>

namespace Zn
{

void AddCommands(CLI::App& AApp, int& AExitCode)
{
    AApp.name("zn");
    AApp.description("Network components from a shell");
    AApp.set_version_flag("--version", ZN_VERSION);
    AApp.require_subcommand(1);
    AddPipeCommand(AApp, AExitCode);
    AddServeCommand(AApp, AExitCode);
    AddRequestCommands(AApp, AExitCode);
    AddUsersCommand(AApp, AExitCode);
    AddConfigCommand(AApp, AExitCode);
    AddNetworkCommands(AApp, AExitCode);
    AddTcpCommand(AApp, AExitCode);
    AddFirewallCommand(AApp, AExitCode);
    AddJwtCommand(AApp, AExitCode);
    AddWlanCommand(AApp, AExitCode);
    AddAwsCommand(AApp, AExitCode);
    AddS3Command(AApp, AExitCode);
}

} // namespace Zn
