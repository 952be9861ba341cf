#include <memory>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/services/Services.h"

void Zn::AddTcpCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command =
        AApp.add_subcommand("tcp", "Send a command to a TCP service and print its answer");
    Command->footer(
        "In TEXT and the terminator \\n, \\r, \\t, \\0, \\xHH and \\\\ stand for the bytes they mean.\n"
        "The answer ends with the terminator or with a pause of a second.");
    const auto Options = std::make_shared<TTcpCommand>();
    Command->add_option("HOST", Options->Host, "Name or address")->required();
    Command->add_option("PORT", Options->Port, "Its port")->required()->check(CLI::Range(1, 65535));
    Command->add_option("TEXT", Options->Text, "What to send, such as 'PING\\r\\n'")->required();
    Command->add_option("--terminator", Options->Terminator, "Last byte of the answer")
        ->type_name("C")
        ->capture_default_str();
    Command->add_option("--timeout", Options->TimeOut, "How long to wait, in ms")
        ->type_name("MS")
        ->check(CLI::Range(0, 86400000))
        ->capture_default_str();
    Command->callback([Options, &AExitCode] { AExitCode = SendTcpCommand(*Options); });
}
