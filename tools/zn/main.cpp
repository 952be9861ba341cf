#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"

/// zn: the library's capabilities from a shell. Exit codes: 0 done, 1 failed, 2 wrong command line;
/// those of requests are in request/Request.h.
int main(int argc, char** argv)
{
    int ExitCode = Zn::cExitOk;
    CLI::App App;
    Zn::AddCommands(App, ExitCode);
    try {
        App.parse(argc, argv);
    } catch (const CLI::ParseError& Error) {
        // Help and version are no errors; the library has numbers of its own for all others.
        return App.exit(Error) == 0 ? Zn::cExitOk : Zn::cExitUsage;
    }
    return ExitCode;
}
