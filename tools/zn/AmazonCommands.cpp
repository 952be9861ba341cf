#include <memory>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/amazon/Amazon.h"

namespace Zn
{

namespace
{

constexpr const char* cSecrets =
    "The access key comes from AWS_ACCESS_KEY_ID and AWS_SECRET_ACCESS_KEY (and AWS_SESSION_TOKEN), else "
    "from\n"
    "~/.aws/credentials; the region from AWS_REGION or ~/.aws/config where --region isn't given.";

std::shared_ptr<TAmazonAccount> AddAccount(CLI::App& ACommand)
{
    const auto Account = std::make_shared<TAmazonAccount>();
    ACommand.add_option("--region", Account->Region, "Such as eu-central-1")->type_name("NAME");
    ACommand
        .add_option("--endpoint", Account->Endpoint, "A service elsewhere, such as http://localhost:4568")
        ->type_name("URL");
    ACommand.add_option("--profile", Account->Profile, "Section of the files to take keys from")
        ->type_name("NAME");
    ACommand
        .add_option("--cacert", Account->Authorities,
                    "Authorities that the server's certificate may come from")
        ->type_name("PEMFILE")
        ->check(CLI::ExistingFile);
    ACommand.footer(cSecrets);
    return Account;
}

/// What the commands of `zn s3` are told.
struct TStorageOptions
{
    std::string Path;
    std::string File;
    bool Deep = false;
    bool Json = false;
    bool ForWriting = false;
    std::int64_t Expires = 3600;
};

} // namespace

void AddAwsCommand(CLI::App& AApp, int& AExitCode)
{
    struct TOptions
    {
        std::string Service;
        std::string Target;
        std::string Body = "{}";
    };
    CLI::App* const Command =
        AApp.add_subcommand("aws", "Call an operation of an Amazon web service that speaks JSON");
    const auto Account = AddAccount(*Command);
    const auto Options = std::make_shared<TOptions>();
    Command->add_option("SERVICE", Options->Service, "dynamodb, rekognition, or another one's name")
        ->required();
    Command->add_option("TARGET", Options->Target, "The operation, such as ListTables")->required();
    Command->add_option("BODY", Options->Body, "JSON text, or @FILE")->capture_default_str();
    Command->callback([Account, Options, &AExitCode] {
        AExitCode = CallAmazonService(*Account, Options->Service, Options->Target, Options->Body);
    });
}

void AddS3Command(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Command = AApp.add_subcommand("s3", "List, read and write objects in storage");
    Command->require_subcommand(1);
    Command->fallthrough(); // options of the account may stand behind the command
    const auto Account = AddAccount(*Command);
    const auto Options = std::make_shared<TStorageOptions>();
    const auto Add = [&](const char* AName, const char* AText, auto AWork) -> CLI::App& {
        CLI::App* const Result = Command->add_subcommand(AName, AText);
        Result->callback([Account, Options, AWork, &AExitCode] { AExitCode = AWork(*Account, *Options); });
        return *Result;
    };

    CLI::App& List = Add("ls", "List the buckets, or what is in one", [](const auto& AWhose, const auto& A) {
        return ListStorage(AWhose, A.Path, A.Deep, A.Json ? TStorageListing::Json : TStorageListing::Table);
    });
    List.add_option("BUCKET[/PREFIX]", Options->Path, "What to list; without it the buckets");
    List.add_flag("--recursive", Options->Deep, "What is in folders, too");
    List.add_flag("--json", Options->Json, "As JSON, for scripts");

    CLI::App& Get = Add("get", "Write an object to a file", [](const auto& AWhose, const auto& A) {
        return GetFromStorage(AWhose, A.Path, A.File);
    });
    Get.add_option("BUCKET/KEY", Options->Path, "The object")->required();
    Get.add_option("FILE", Options->File,
                   "File to write, \"-\" for standard output; default: the key's last part");

    CLI::App& Put = Add("put", "Make an object of a file", [](const auto& AWhose, const auto& A) {
        return PutIntoStorage(AWhose, A.File, A.Path);
    });
    Put.add_option("FILE", Options->File, "The file")->required()->check(CLI::ExistingFile);
    Put.add_option("BUCKET[/KEY]", Options->Path, "The object; a key that ends in \"/\" gets the file's name")
        ->required();

    Add("rm", "Delete an object",
        [](const auto& AWhose, const auto& A) { return RemoveFromStorage(AWhose, A.Path); })
        .add_option("BUCKET/KEY", Options->Path, "The object")
        ->required();

    CLI::App& Presign =
        Add("presign", "Print a URL that needs no key", [](const auto& AWhose, const auto& A) {
            return PresignStorage(AWhose, A.Path, A.ForWriting, std::chrono::seconds(A.Expires));
        });
    Presign.add_option("BUCKET/KEY", Options->Path, "The object")->required();
    Presign.add_flag("--put", Options->ForWriting, "To write it; without, to read it");
    Presign.add_option("--expires", Options->Expires, "How long it is good for, in seconds")
        ->check(CLI::Range(1, 604800))
        ->type_name("SECONDS")
        ->capture_default_str();
}

} // namespace Zn
