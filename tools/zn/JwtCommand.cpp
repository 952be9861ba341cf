#include <memory>

#include <CLI/CLI.hpp>

#include "tools/zn/Commands.h"
#include "tools/zn/services/Jwt.h"

void Zn::AddJwtCommand(CLI::App& AApp, int& AExitCode)
{
    CLI::App* const Jwt = AApp.add_subcommand("jwt", "Check JSON Web Tokens");
    Jwt->require_subcommand(1);
    CLI::App* const Verify = Jwt->add_subcommand("verify", "Check a token's signature and print its claims");
    Verify->footer("Takes RS256, RS384 and RS512. Issuer, audience and times are looked at only where asked "
                   "for. Exit codes:\n"
                   "  0  the token holds          2  wrong command line\n"
                   "  1  it doesn't, or there are no keys to tell by");
    const auto Options = std::make_shared<TJwtCommand>();
    Verify
        ->add_option("TOKEN", Options->Token, "The token; @FILE reads it from a file, @- from standard input")
        ->type_name("TOKEN|@FILE")
        ->required();
    Verify->add_option("--jwks", Options->KeySet, "The issuer's key set (RFC 7517)")
        ->type_name("URL|FILE")
        ->required();
    Verify->add_option("--issuer", Options->Issuer, "Who must have issued it")->type_name("TEXT");
    Verify->add_option("--audience", Options->Audience, "Whom it must be for")->type_name("TEXT");
    Verify->add_flag("--times", Options->CheckTimes, "Refuse it before its time and after it");
    Verify->callback([Options, &AExitCode] { AExitCode = VerifyToken(*Options); });
}
