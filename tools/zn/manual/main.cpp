#include <cstdio>
#include <fstream>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/manual/BashCompletion.h"
#include "tools/zn/manual/ManPage.h"

/// zn-manual PAGE COMPLETION: run by the build, writes both from the options that zn has.
int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "zn-manual PAGE COMPLETION\n");
        return Zn::cExitUsage;
    }
    int ExitCode = Zn::cExitOk;
    CLI::App Program;
    Zn::AddCommands(Program, ExitCode);
    std::ofstream Page(argv[1]), Completion(argv[2]);
    Page << Zn::ManPage(Program, ZN_VERSION);
    Completion << Zn::BashCompletion(Program);
    if (!Page.flush() || !Completion.flush()) {
        std::fprintf(stderr, "zn-manual: cannot write %s and %s\n", argv[1], argv[2]);
        return Zn::cExitFailure;
    }
    return ExitCode;
}
