#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/services/Services.h"

void Zn::AddFirewallCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command =
        AApp.add_subcommand("firewall", "Show the firewall's state, and keep the list of allowed programs");
    Command->require_subcommand(1);
    Command->footer(
        "The list records which programs are meant to be reached. The system's packet filter doesn't\n"
        "read it: see docs/network-information.md.");
    const auto Path = std::make_shared<std::string>();
    const auto Json = std::make_shared<bool>(false);
    CLI::App* const Status = Command->add_subcommand("status", "Whether this host filters what comes in");
    Status->add_flag("--json", *Json, "As JSON, for scripts");
    Status->callback([Json, &AExitCode] { AExitCode = ShowFirewall(*Json); });
    const auto Add = [&](const char* AName, const char* AText, int (*AWork)(const std::string&)) {
        CLI::App* const Result = Command->add_subcommand(AName, AText);
        Result->add_option("PATH", *Path, "The program")->required();
        Result->callback([Path, AWork, &AExitCode] { AExitCode = AWork(*Path); });
    };
    Add("allow", "Put a program on the list, for the local subnet", AllowProgram);
    Add("remove", "Take a program off the list", RemoveProgram);
    Add("check", "Whether a program is on the list; exit code 1 where it isn't", CheckProgram);
}
