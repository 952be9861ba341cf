#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/services/Services.h"

void Zn::AddWlanCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command = AApp.add_subcommand("wlan", "Wireless interfaces");
    Command->require_subcommand(1);
    const auto Json = std::make_shared<bool>(false);
    CLI::App* const List =
        Command->add_subcommand("list", "Show the wireless interfaces and what they are doing");
    List->add_flag("--json", *Json, "As JSON, for scripts");
    List->callback([Json, &AExitCode] { AExitCode = ListWirelessInterfaces(*Json); });

    const auto Interface = std::make_shared<std::string>();
    const auto Ssid = std::make_shared<std::string>();
    CLI::App* const Scan = Command->add_subcommand("scan", "Have interfaces look for networks");
    Scan->add_option("INTERFACE", *Interface, "Its name; all without it");
    Scan->add_option("--ssid", *Ssid, "Look for that network only")->type_name("NAME");
    Scan->callback([Interface, Ssid, &AExitCode] { AExitCode = ScanForNetworks(*Interface, *Ssid); });
}
