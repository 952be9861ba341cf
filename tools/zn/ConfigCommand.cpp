#include <memory>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/config/Config.h"

namespace Zn
{

namespace
{

/// What the commands below are told.
struct TConfigOptions
{
    bool Json = false;
    std::string Url;
    std::string SecurityDescriptor = "D:(A;;GX;;;WD)"; // everyone may register
    std::string Address;
    std::string ThumbPrint;
    std::string Store;
    std::string Host;
    std::string FileName;
    std::int32_t Port = 0;
    std::int32_t Days = 825;

    TListForm Form() const { return Json ? TListForm::Json : TListForm::Table; }
    std::string StoreOrDefault() const { return Store.empty() ? "my" : Store; }
};

/// Adds subcommands that share the options and the exit code.
class TCommands
{
public:
    TCommands(CLI::App& AParent, int& AExitCode) : FParent(AParent), FExitCode(AExitCode) {}

    const std::shared_ptr<TConfigOptions> Options = std::make_shared<TConfigOptions>();

    CLI::App& Group(const char* AName, const char* AText) const
    {
        CLI::App* const Result = FParent.add_subcommand(AName, AText);
        Result->require_subcommand(1);
        return *Result;
    }

    template <class TWork>
    CLI::App& Add(CLI::App& AGroup, const char* AName, const char* AText, TWork AWork) const
    {
        CLI::App* const Result = AGroup.add_subcommand(AName, AText);
        Result->callback([Shared = Options, &Code = FExitCode, AWork] { Code = AWork(*Shared); });
        return *Result;
    }

    template <class TWork>
    CLI::App& AddList(CLI::App& AGroup, TWork AWork) const
    {
        CLI::App& Result = Add(AGroup, "list", "Show the list", AWork);
        Result.add_flag("--json", Options->Json, "As JSON, for scripts");
        return Result;
    }

    void AddStore(CLI::App& ACommand, const char* AText) const
    {
        ACommand.add_option("--store", Options->Store, AText)->type_name("NAME");
    }

private:
    CLI::App& FParent;
    int& FExitCode;
};

void AddReservations(const TCommands& ACommands)
{
    TConfigOptions& Options = *ACommands.Options;
    CLI::App& Group =
        ACommands.Group("urlacl", "Reservations of URLs (kept and shown; none is needed to serve)");
    ACommands.AddList(Group, [](const TConfigOptions& A) { return ListReservations(A.Form()); });
    CLI::App& Add = ACommands.Add(Group, "add", "Reserve a URL prefix", [](const TConfigOptions& A) {
        return AddReservation(A.Url, A.SecurityDescriptor);
    });
    Add.add_option("URL", Options.Url, "Such as http://+:8080/app/")->required();
    Add.add_option("--sddl", Options.SecurityDescriptor, "Security descriptor, in SDDL")
        ->type_name("TEXT")
        ->capture_default_str();
    ACommands
        .Add(Group, "delete", "Delete a reservation",
             [](const TConfigOptions& A) { return DeleteReservation(A.Url); })
        .add_option("URL", Options.Url, "Its URL prefix")
        ->required();
}

void AddListenAddresses(const TCommands& ACommands)
{
    TConfigOptions& Options = *ACommands.Options;
    CLI::App& Group =
        ACommands.Group("iplisten", "Addresses that names, \"+\" and \"*\" in bindings listen on");
    ACommands.AddList(Group, [](const TConfigOptions& A) { return ListListenAddresses(A.Form()); });
    ACommands
        .Add(Group, "add", "Add an address",
             [](const TConfigOptions& A) { return AddListenAddress(A.Address); })
        .add_option("ADDRESS", Options.Address, "IPv4 or IPv6 address")
        ->required();
    ACommands
        .Add(Group, "delete", "Delete an address",
             [](const TConfigOptions& A) { return DeleteListenAddress(A.Address); })
        .add_option("ADDRESS", Options.Address, "As the list shows it")
        ->required();
}

void AddPortCertificates(const TCommands& ACommands)
{
    TConfigOptions& Options = *ACommands.Options;
    const CLI::Range Ports(1, 65535);
    CLI::App& Group = ACommands.Group("sslcert", "Certificates of https ports");
    ACommands.AddList(Group, [](const TConfigOptions& A) { return ListPortCertificates(A.Form()); });
    CLI::App& Add = ACommands.Add(Group, "add", "Bind a certificate to a port", [](const TConfigOptions& A) {
        return AddPortCertificate(A.Port, A.ThumbPrint, A.StoreOrDefault());
    });
    Add.add_option("PORT", Options.Port, "Port, on all addresses")->required()->check(Ports);
    Add.add_option("THUMBPRINT", Options.ThumbPrint,
                   "SHA-1 of the certificate; see zn config certificate list")
        ->required();
    ACommands.AddStore(Add, "The certificate's store (default: my)");
    ACommands
        .Add(Group, "delete", "Take a port's certificate away",
             [](const TConfigOptions& A) { return DeletePortCertificate(A.Port); })
        .add_option("PORT", Options.Port, "The port")
        ->required()
        ->check(Ports);
}

void AddCertificates(const TCommands& ACommands)
{
    TConfigOptions& Options = *ACommands.Options;
    CLI::App& Group = ACommands.Group("certificate", "The certificate store");
    ACommands.AddStore(
        ACommands.AddList(Group, [](const TConfigOptions& A) { return ListCertificates(A.Form(), A.Store); }),
        "That store only");
    CLI::App& Create = ACommands.Add(
        Group, "create", "Make a self-signed certificate; prints its thumbprint",
        [](const TConfigOptions& A) { return CreateCertificate(A.Host, A.Days, A.StoreOrDefault()); });
    Create.add_option("HOST", Options.Host, "Name or address of the server")->required();
    Create.add_option("--days", Options.Days, "How long it is good for")
        ->check(CLI::Range(1, 36500))
        ->capture_default_str();
    ACommands.AddStore(Create, "Store to keep it in (default: my)");
    CLI::App& Import = ACommands.Add(
        Group, "import", "Add a certificate with its key; prints its thumbprint",
        [](const TConfigOptions& A) { return ImportCertificate(A.FileName, A.StoreOrDefault()); });
    Import.add_option("PEMFILE", Options.FileName, "Certificate, chain and key, in any order")
        ->required()
        ->check(CLI::ExistingFile);
    ACommands.AddStore(Import, "Store to keep it in (default: my)");
    CLI::App& Delete =
        ACommands.Add(Group, "delete", "Delete a certificate and its key", [](const TConfigOptions& A) {
            return DeleteCertificate(A.ThumbPrint, A.StoreOrDefault());
        });
    Delete.add_option("THUMBPRINT", Options.ThumbPrint, "SHA-1 of the certificate")->required();
    ACommands.AddStore(Delete, "Its store (default: my)");
}

} // namespace

void AddConfigCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command =
        AApp.add_subcommand("config", "Show and change what the HTTP service keeps for all servers");
    Command->require_subcommand(1);
    Command->footer(
        "Kept per machine for root, per user otherwise, in ZN_STATE_DIR where that is set. Changes take "
        "effect when a server is started.");
    const TCommands Commands(*Command, AExitCode);
    AddReservations(Commands);
    AddListenAddresses(Commands);
    AddPortCertificates(Commands);
    AddCertificates(Commands);
}

} // namespace Zn
