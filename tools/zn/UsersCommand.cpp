#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "common/Exceptions.h"
#include "tools/zn/Commands.h"
#include "tools/zn/PasswordPrompt.h"
#include "tools/zn/UserFile.h"

namespace Zn
{

namespace
{

struct TNewUser
{
    std::string File;
    std::string Realm;
    std::string Name;
};

int Fail(int AExitCode, const std::string& AText)
{
    std::fprintf(stderr, "zn users: %s\n", AText.c_str());
    return AExitCode;
}

int AddUser(const TNewUser& AUser)
{
    std::optional<std::string> Password;
    if (const char* const Given = std::getenv("ZN_PASSWORD")) {
        Password = Given;
    } else {
        Password = PromptForPassword("Password for " + AUser.Name + ": ");
        if (!Password)
            return Fail(cExitUsage, "no password: run it on a terminal, or set ZN_PASSWORD");
        if (PromptForPassword("The same once more: ") != Password)
            return Fail(cExitFailure, "the two aren't the same; nothing was changed");
    }
    try {
        TUserFile File = TUserFile::OpenOrNew(AUser.File);
        const bool Known = File.Set(AUser.Name, AUser.Realm, *Password);
        File.Save();
        std::printf("%s \"%s\" in realm \"%s\".\n", Known ? "Changed the password of" : "Added",
                    AUser.Name.c_str(), AUser.Realm.c_str());
    } catch (const std::exception& Error) {
        return Fail(cExitFailure, Error.what());
    }
    return cExitOk;
}

} // namespace

void AddUsersCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Users = AApp.add_subcommand("users", "Manage the accounts for zn serve --users");
    Users->require_subcommand(1);
    CLI::App* const Add = Users->add_subcommand("add", "Add an account or change its password");
    Add->footer(
        "Asks for the password on the terminal, or takes it from the environment variable ZN_PASSWORD.\n"
        "The file holds user:realm:hash lines and is readable by its owner only.");
    const auto User = std::make_shared<TNewUser>();
    Add->add_option("FILE", User->File, "File of accounts; made if it isn't there")->required();
    Add->add_option("REALM", User->Realm, "What the account is for; a part of the hash")->required();
    Add->add_option("USER", User->Name, "Name to log on with")->required();
    Add->callback([User, &AExitCode] { AExitCode = AddUser(*User); });
}

} // namespace Zn
