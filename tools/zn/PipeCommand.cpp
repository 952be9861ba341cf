#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/PasswordPrompt.h"
#include "tools/zn/pipe/PipeTools.h"

namespace Zn
{

namespace
{

/// Runs a command; what goes wrong becomes one line and the exit code.
template <class TWork>
int Run(TWork AWork)
{
    try {
        return AWork();
    } catch (const std::exception& Error) {
        std::fprintf(stderr, "zn pipe: %s\n", OneLine(Error.what()).c_str());
        return cExitFailure;
    }
}

void AddTarget(CLI::App& ACommand, TPipeTarget& ATarget)
{
    ACommand.add_option("NAME", ATarget.Name, "Name of the pipe")->required();
    ACommand.add_option("--server", ATarget.Server,
                        "Host of the pipe, reached by SSH; default: this machine");
    ACommand.add_option("--user", ATarget.User, "Name to log on with there; default: yours");
    ACommand.add_option("--connect-timeout", ATarget.ConnectTimeout, "Longest time for the connection, ms")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    ACommand.footer(
        "A password comes from the environment variable ZN_PASSWORD, or is asked for on the terminal\n"
        "when --user is given; without one, your SSH agent and default keys serve.");
}

/// False when there is a user and no password can be had.
void FillPassword(TPipeTarget& ATarget)
{
    if (const char* const Given = std::getenv("ZN_PASSWORD"))
        ATarget.Password = Given;
    else if (!ATarget.User.empty())
        ATarget.Password =
            PromptForPassword("Password for " + ATarget.User + " (empty: agent and keys): ").value_or("");
}

} // namespace

void AddPipeCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Pipe = AApp.add_subcommand("pipe", "Message pipes between processes");
    Pipe->require_subcommand(1);

    CLI::App* const Listen =
        Pipe->add_subcommand("listen", "Serve a pipe: print what arrives, answer commands");
    const auto Listener = std::make_shared<TPipeListener>();
    Listen->add_option("NAME", Listener->Name, "Name of the pipe")->required();
    Listen->add_option(
        "--exec", Listener->Program,
        "Answer a command with the output of this program, which reads it; default: the command itself");
    Listen->add_option("--max", Listener->MaxConnections, "Clients at once; 0: any number")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    Listen->callback([=, &AExitCode] { AExitCode = Run([&] { return ListenOnPipe(*Listener); }); });

    const auto AddClient = [&](const char* AName, const char* AText, auto AWork) {
        CLI::App* const Command = Pipe->add_subcommand(AName, AText);
        const auto Target = std::make_shared<TPipeTarget>();
        AddTarget(*Command, *Target);
        Command->callback([=, &AExitCode] {
            FillPassword(*Target);
            AExitCode = Run([&] { return AWork(*Target); });
        });
        return Command;
    };
    const auto Text = std::make_shared<std::string>();
    const auto Timeout = std::make_shared<std::uint32_t>(10000);
    const auto Count = std::make_shared<int>(4);
    AddClient("send", "Send a text, or a file by @FILE, and wait until it was read",
              [=](const TPipeTarget& ATarget) { return SendToPipe(ATarget, *Text, *Timeout); })
        ->add_option("TEXT", *Text, "The text, or @FILE")
        ->required();
    CLI::App* const Command =
        AddClient("cmd", "Send a command and print its answer",
                  [=](const TPipeTarget& ATarget) { return AskPipe(ATarget, *Text, *Timeout); });
    Command->add_option("TEXT", *Text, "The command, or @FILE")->required();
    Command->add_option("--timeout", *Timeout, "Longest time for the answer, ms")->capture_default_str();
    AddClient("ping", "Measure the time to the server",
              [=](const TPipeTarget& ATarget) { return PingPipe(ATarget, *Count); })
        ->add_option("-c", *Count, "How many pings; 0: until interrupted")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str();
    AddClient("connect", "Talk with the server: lines are sent, what comes is shown",
              [](const TPipeTarget& ATarget) { return TalkWithPipe(ATarget); })
        ->footer("Lines are sent as data, \"/cmd TEXT\" as a command. The connection is made again when it "
                 "is lost.");
}

} // namespace Zn
