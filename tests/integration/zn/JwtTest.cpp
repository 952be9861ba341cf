// zn jwt verify.

#include <gtest/gtest.h>

#include "tests/integration/zn/ServedSite.h"
#include "tests/support/TokenSigner.h"

namespace Zn
{
namespace
{

TEST(JwtVerify, TellsByItsExitCodeWhetherATokenHolds)
{
    const Tests::TokenSigner Signer;
    const std::string Header = R"({"alg":"RS256","kid":"k"})";
    const std::string Old = Signer.Sign(Header, R"({"iss":"i","aud":"a","exp":1000000000})", "SHA256");
    TTemporaryFolder Folder;
    Folder.Write("keys", Signer.KeySet("k"));
    Folder.Write("token", Old + "\n");
    Folder.Write("site/jwks", Signer.KeySet("k"));
    const TServedSite Site(Folder.Path() / "site", {});
    const std::string Keys = (Folder.Path() / "keys").string();
    struct Row
    {
        const char* Name;
        std::vector<std::string> Arguments;
        int Code;
        std::string Says; // on the one or the other
    };
    const std::string Claims = R"({"iss":"i","aud":"a","exp":1000000000})";
    const Row Rows[] = {
        {"file", {Old, "--jwks", Keys}, 0, Claims},
        {"url", {"@" + (Folder.Path() / "token").string(), "--jwks", Site.Url("jwks")}, 0, Claims},
        {"checks", {Old, "--jwks", Keys, "--issuer", "i", "--audience", "a"}, 0, Claims},
        {"late", {Old, "--jwks", Keys, "--times"}, 1, "The token has expired!"},
        {"issuer", {Old, "--jwks", Keys, "--issuer", "j"}, 1, "another issuer"},
        {"audience", {Old, "--jwks", Keys, "--audience", "b"}, 1, "another client"},
        {"forged",
         {Tests::TokenSigner().Sign(Header, Claims, "SHA256"), "--jwks", Keys},
         1,
         "verification failed"},
        {"no keys", {Old, "--jwks", Site.Url("none")}, 1, "there are no keys at"},
        {"no token", {"x", "--jwks", Keys}, 1, "not a valid token"},
        {"no key set", {Old}, 2, "--jwks is required"},
    };
    for (const Row& Each : Rows) {
        std::vector<std::string> Arguments{ZN_PROGRAM, "jwt", "verify"};
        Arguments.insert(Arguments.end(), Each.Arguments.begin(), Each.Arguments.end());
        TChildProcess Process(Arguments);
        EXPECT_EQ(Process.WaitForExit(cPatience), Each.Code) << Each.Name;
        const std::string Said = Each.Code == 0 ? Process.Output() : Process.Errors();
        EXPECT_NE(Said.find(Each.Says), std::string::npos) << Each.Name << ": " << Said;
        EXPECT_EQ(Said.find('<'), std::string::npos) << Each.Name;
    }
}

} // namespace
} // namespace Zn
