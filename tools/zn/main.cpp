#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"

/// zn: the library's capabilities from a shell. Exit codes: 0 done, 1 failed, 2 wrong command line;
/// those of requests are in request/Request.h.
int main(int argc, char** argv)
{
    int ExitCode = Zn::cExitOk;
    CLI::App App("Network components from a shell", "zn");
    App.set_version_flag("--version", ZN_VERSION);
    App.require_subcommand(1);
    Zn::AddPipeCommand(App, ExitCode);
    Zn::AddServeCommand(App, ExitCode);
    Zn::AddRequestCommands(App, ExitCode);
    Zn::AddUsersCommand(App, ExitCode);
    Zn::AddConfigCommand(App, ExitCode);
    Zn::AddNetworkCommands(App, ExitCode);
    Zn::AddTcpCommand(App, ExitCode);
    Zn::AddFirewallCommand(App, ExitCode);
    Zn::AddJwtCommand(App, ExitCode);
    Zn::AddWlanCommand(App, ExitCode);
    Zn::AddAwsCommand(App, ExitCode);
    Zn::AddS3Command(App, ExitCode);
    try {
        App.parse(argc, argv);
    } catch (const CLI::ParseError& Error) {
        // Help and version are no errors; the library has numbers of its own for all others.
        return App.exit(Error) == 0 ? Zn::cExitOk : Zn::cExitUsage;
    }
    return ExitCode;
}
