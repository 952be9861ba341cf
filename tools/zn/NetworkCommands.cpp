#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/network/Network.h"

namespace Zn
{

namespace
{

/// "-4" and "-6", of which one at most is given.
void AddFamilies(CLI::App& ACommand, TFamilies& AFamilies)
{
    const auto Set = [&AFamilies](TZnIPAddrType AType) {
        return [&AFamilies, AType] { AFamilies = {AType}; };
    };
    CLI::Option* const V4 = ACommand.add_flag_callback("-4", Set(ipV4), "IPv4 only");
    ACommand.add_flag_callback("-6", Set(ipV6), "IPv6 only")->excludes(V4);
}

void AddAdapters(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command = AApp.add_subcommand("adapters", "Show the network adapters of this machine");
    const auto Json = std::make_shared<bool>(false);
    const auto Watch = std::make_shared<bool>(false);
    Command->add_flag("--json", *Json, "As JSON, for scripts; changes one object a line");
    Command->add_flag("--watch", *Watch, "Then show what changes, until Ctrl+C");
    Command->callback([=, &AExitCode] { AExitCode = *Watch ? WatchAdapters(*Json) : ShowAdapters(*Json); });
}

void AddPing(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command = AApp.add_subcommand("ping", "Ask a host whether it is there");
    const auto Options = std::make_shared<TPingCommand>();
    Command->add_option("HOST", Options->Host, "Name or address; fe80::1%eth0 for a link-local one")
        ->required();
    AddFamilies(*Command, Options->Families);
    Command->add_option("-c,--count", Options->Count, "How many times, a second apart")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000))
        ->capture_default_str();
    Command->add_option("--timeout", Options->TimeOut, "How long to wait for each answer")
        ->type_name("MS")
        ->check(CLI::Range(1, 3600000))
        ->capture_default_str();
    Command->callback([Options, &AExitCode] { AExitCode = PingHost(*Options); });
}

void AddResolve(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command = AApp.add_subcommand("resolve", "Show the address of a name");
    const auto Host = std::make_shared<std::string>();
    const auto Families = std::make_shared<TFamilies>();
    Command->add_option("HOST", *Host, "Name or address")->required();
    AddFamilies(*Command, *Families);
    Command->callback([=, &AExitCode] { AExitCode = ResolveHost(*Host, *Families); });
}

void AddWakeOnLan(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command = AApp.add_subcommand("wol", "Wake a machine by its hardware address");
    const auto Mac = std::make_shared<std::string>();
    const auto Address = std::make_shared<std::string>();
    Command->add_option("MAC", *Mac, "Such as 00:11:22:33:44:55")->required();
    Command->add_option("IP", *Address, "Where to send it; to all on this network without it");
    Command->callback([=, &AExitCode] { AExitCode = WakeHost(*Mac, *Address); });
}

void AddFacts(CLI::App& AApp, int& AExitCode)
{
    AApp.add_subcommand("hostname", "Show this machine's name")->callback([&AExitCode] {
        AExitCode = ShowHostName();
    });
    CLI::App* const Command =
        AApp.add_subcommand("ips", "Show this machine's addresses on adapters with a gateway");
    const auto Families = std::make_shared<TFamilies>();
    AddFamilies(*Command, *Families);
    Command->callback([=, &AExitCode] { AExitCode = ShowLocalIPs(*Families); });
}

} // namespace

void AddNetworkCommands(CLI::App& AApp, int& AExitCode)
{
    AddAdapters(AApp, AExitCode);
    AddPing(AApp, AExitCode);
    AddResolve(AApp, AExitCode);
    AddWakeOnLan(AApp, AExitCode);
    AddFacts(AApp, AExitCode);
}

} // namespace Zn
