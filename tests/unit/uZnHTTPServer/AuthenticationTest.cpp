// The authentication stage and the failure stage, as clients and handlers see them.

#include "uZnHTTPServer/AuthExceptions.h"

#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "common/Hash.h"
#include "common/NetEncoding.h"
#include "common/Text.h"
#include "uZnHTTPServer/Digest.h"

namespace
{

std::string Basic(std::string_view AText)
{
    return "Basic " + TZnNetEncoding::GetBase64ExEncoding().Encode(AText);
}

/// The field that a well-behaved client sends for "anna", whose password is "secret".
std::string Digest(const std::string& AMethod = "GET", const std::string& AUser = "anna")
{
    const std::string Ha1 = MD5Hash(AUser + ":Tolmary:secret");
    const std::string Response =
        MD5Hash(Ha1 + ":any:00000001:c:auth:" + MD5Hash(AMethod + ":/localserver/x"));
    return "Digest username=\"" + AUser +
           "\", realm=\"Tolmary\", nonce=\"any\", uri=\"/localserver/x\", cnonce=\"c\", nc=00000001, "
           "qop=auth, "
           "response=\"" +
           Response + "\"";
}

class Authentication : public testing::Test
{
protected:
    Authentication()
    {
        Server.SetOnGetStoredPassword([this](TZnCustomHTTPServer& ASender, TZnHTTPAuthentication AType,
                                             const std::string& AUser, std::string& AHash, std::string& ARole,
                                             std::string&, TDateTime& AExpiresOn) {
            EXPECT_EQ(&ASender, &Server);
            Events += (AType == authDigest ? "digest " : "basic ") + AUser + ";";
            LastAttempt = HTTPRequest()->AuthAttempt;
            if (Policy)
                Policy();
            const auto Found = Hashes.find(AUser);
            if (Found == Hashes.end())
                return false;
            AHash = Found->second;
            ARole = "Editor";
            AExpiresOn = 50000;
            return true;
        });
        Server.SetOnAuthenticate([this](TZnCustomHTTPServer&, const std::string& AUser, bool AAuthenticated) {
            Events += (AAuthenticated ? "right " : "wrong ") + AUser + ";";
        });
        Server.SetOnResponse(
            [this](TZnCustomHTTPServer&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AAnswer) {
                Seen = *ARequest;
                Seen->GetBody = nullptr;
                AAnswer.SetResponseText("handled");
                if (Handler)
                    Handler();
            });
        Server.SetActive(true);
    }

    Exchange Ask(const std::string& AAuthorization, THTTP_VERB AVerb = HttpVerbGET,
                 const std::string& AAccept = "")
    {
        Events.clear();
        Seen.reset();
        ScriptedRequest Request{.Verb = AVerb};
        if (!AAuthorization.empty())
            Request.Known[HttpHeaderAuthorization] = AAuthorization;
        if (!AAccept.empty())
            Request.Known[HttpHeaderAccept] = AAccept;
        return Service.Ask(std::move(Request));
    }

    void ExpectAnonymous(const char* AEvents)
    {
        ASSERT_TRUE(Seen);
        EXPECT_EQ(Seen->AuthenticationType, authNone);
        EXPECT_EQ(Seen->LogonName, "");
        EXPECT_EQ(Seen->RoleName, "Anonymous");
        EXPECT_EQ(Events, AEvents);
    }

    ScriptedService Service;
    std::map<std::string, std::string> Hashes{{"anna", MD5Hash("anna:Tolmary:secret")},
                                              {"cora", MD5Hash("cora:Tolmary:secret")},
                                              {"CAPS", UpperCase(MD5Hash("CAPS:Tolmary:a:b"))},
                                              {"\\d\\u", MD5Hash("\\d\\u:Tolmary:secret")},
                                              {"locked", ""}};
    std::function<void()> Policy;  // of the account event
    std::function<void()> Handler; // what OnResponse does besides
    std::string Events;
    TZnHTTPAuthAttempt LastAttempt;
    std::optional<TZnHTTPServerRequest> Seen; // by the handler
    TZnHTTPServer Server{nullptr};
};

TEST_F(Authentication, TellsTheHandlerWhoAsks)
{
    for (const std::string& Field : {Basic("anna:secret"), Digest()}) {
        EXPECT_EQ(Ask(Field).Head().Status, 200);
        ASSERT_TRUE(Seen) << Field;
        EXPECT_EQ(Seen->AuthenticationType, Field[0] == 'B' ? authBasic : authDigest);
        EXPECT_EQ(Seen->LogonName, "anna");
        EXPECT_EQ(Seen->RoleName, "Editor");
        EXPECT_EQ(Seen->PasswordExp, 50000);
        EXPECT_EQ(Events, Field[0] == 'B' ? "basic anna;right anna;" : "digest anna;right anna;");
    }
    Ask(Basic("CAPS:a:b"));
    EXPECT_EQ(Seen->AuthenticationType, authBasic) << "the letter case of a stored hash has no meaning";
    for (const auto& [Verb, Method] : {std::pair(HttpVerbPUT, "PUT"), std::pair(HttpVerbDELETE, "DELETE")}) {
        Ask(Digest(Method), Verb);
        EXPECT_EQ(Seen->AuthenticationType, authDigest);
    }
    // The client escapes a backslash in its quotes; the account has one at each place.
    std::string Field = Digest("GET", "\\d\\u");
    Field.replace(Field.find("\\d\\u"), 4, "\\\\d\\\\u");
    Ask(Field);
    EXPECT_EQ(Seen->LogonName, "\\d\\u");
}

TEST_F(Authentication, TakesWhatItDoesNotKnowForNothing)
{
    for (const char* Field : {"", "Basic", "Basic ", "Basic =", "Basic \"\"", "basic YW5uYTpzZWNyZXQ=",
                              "BASIC YW5uYTpzZWNyZXQ=", "Bearer abc", "Basic\tYW5uYTpzZWNyZXQ=", "Digest",
                              "Digest ", "Digest realm=\"x\"", "DIGEST username=anna", "Digest username=\"\"",
                              "Digest username", "Basic IA==", "Basic YW5uYTpzZWNyZXQ!"}) {
        EXPECT_EQ(Ask(Field).Head().Status, 200) << Field;
        ExpectAnonymous("");
    }
}

TEST_F(Authentication, LetsTheHandlerJudgeAFailure)
{
    const struct
    {
        const char* Name;
        std::string Field;
        THTTP_VERB Verb;
        const char* Events;
    } Rows[] = {
        {"wrong password", Basic("anna:Secret"), HttpVerbGET, "basic anna;wrong anna;"},
        {"cut password", Basic("anna:secre"), HttpVerbGET, "basic anna;wrong anna;"},
        {"unknown user", Basic("bert:secret"), HttpVerbGET, "basic bert;wrong bert;"},
        {"names count with case", Basic("Anna:secret"), HttpVerbGET, "basic Anna;wrong Anna;"},
        {"no colon", Basic("secret"), HttpVerbGET, "basic ;wrong ;"},
        {"hash as password", Basic("anna:" + Hashes["anna"]), HttpVerbGET, "basic anna;wrong anna;"},
        {"account without password", Basic("locked:"), HttpVerbGET, "basic locked;wrong locked;"},
        {"Digest of another method", Digest("POST", "cora"), HttpVerbGET, "digest cora;wrong cora;"},
        {"HEAD", Digest("HEAD", "cora"), HttpVerbHEAD, "digest cora;wrong cora;"},
        {"Digest without response", "Digest username=cora", HttpVerbGET, "digest cora;wrong cora;"},
        {"Digest without qop",
         "Digest username=cora,nonce=n,uri=/x,response=" +
             MD5Hash(Hashes["cora"] + ":n:" + MD5Hash("GET:/x")),
         HttpVerbGET, "digest cora;wrong cora;"},
        {"Digest for an account without password",
         "Digest username=locked,nonce=n,uri=/x,response=" + MD5Hash(":n::::" + MD5Hash("GET:/x")),
         HttpVerbGET, "digest locked;wrong locked;"},
    };
    for (const auto& Row : Rows) {
        SCOPED_TRACE(Row.Name);
        EXPECT_EQ(Ask(Row.Field, Row.Verb).Head().Status, 200);
        ExpectAnonymous(Row.Events);
    }
    Server.SetOnGetStoredPassword(nullptr);
    Ask(Basic("anna:secret"));
    ExpectAnonymous("wrong anna;");
}

TEST_F(Authentication, RealmIsPartOfTheHash)
{
    Server.SetAuthenticationRealm("Other");
    Ask(Basic("anna:secret"));
    ExpectAnonymous("basic anna;wrong anna;");
    EXPECT_EQ(Server.CalculatePasswordHash("j\xC3\xBCrgen", "p", "salt"), MD5Hash("j\xC3\xBCrgen:Other:p"));
}

TEST_F(Authentication, StopsTheSeventhFailureOfOneName)
{
    for (int Failures = 0; Failures < 6; ++Failures) {
        EXPECT_EQ(Ask(Failures % 2 ? Basic("anna:x") : "Digest username=anna").Head().Status, 200);
        EXPECT_EQ(LastAttempt.Cnt, Failures);
    }
    for (int More = 6; More < 9; ++More) {
        const Exchange Stopped = Ask(Basic("anna:x"));
        EXPECT_EQ(Stopped.Head().Status, 429);
        EXPECT_EQ(Stopped.Head().Reason, HttpStatusMsg(429));
        EXPECT_NE(Stopped.Body().find("<H1>ERROR 429: Too many authentication failures!</H1>"),
                  std::string::npos);
        EXPECT_FALSE(Seen);
        EXPECT_EQ(Events, "basic anna;") << "no outcome is told";
        EXPECT_EQ(LastAttempt.Cnt, More);
        EXPECT_NE(LastAttempt.LastAttempt, 0U);
    }
    EXPECT_EQ(Ask(Digest("POST"), HttpVerbGET, "application/json").Body(),
              "\"ERROR 429: Too many authentication failures!\"");
    EXPECT_EQ(Ask(Basic("bert:x")).Head().Status, 200);
    EXPECT_EQ(Ask(Basic("anna:secret")).Head().Status, 200) << "who knows the password isn't held up";
    EXPECT_EQ(Seen->LogonName, "anna");
    EXPECT_EQ(Ask(Basic("anna:x")).Head().Status, 429) << "and doesn't clear the count";
}

TEST_F(Authentication, LeavesADoorForAPolicyOfTheApplication)
{
    Policy = [] { HTTPResponse()->SetStatusCode(429); };
    const Exchange Refused = Ask(Basic("anna:secret"));
    EXPECT_EQ(Refused.Head().Status, 429);
    EXPECT_NE(Refused.Body().find("ERROR 429: Too many authentication attempts!"), std::string::npos);
    EXPECT_FALSE(Seen);

    Policy = [] { throw EZnHTTPException("closed at night", 403); };
    EXPECT_EQ(Ask(Basic("anna:secret")).Head().Status, 403);
    EXPECT_FALSE(Seen);
    Policy = [] { throw EInvalidArgument("no database"); };
    EXPECT_TRUE(Ask(Basic("anna:secret")).Calls.empty());
    Policy = nullptr;
    EXPECT_EQ(Ask(Basic("anna:secret")).Head().Status, 200);
}

TEST_F(Authentication, ChallengesByTheSchemeOfTheFailure)
{
    Server.SetAuthenticationRealm("a \"b\" \\c");
    for (const TZnHTTPAuthentication Type : {authBasic, authDigest, authNone, authOAuth2}) {
        Handler = [=] { throw EZnHTTPAuthenticationFailure(Type, "log <on>", 401); };
        const Exchange Html = Ask("");
        EXPECT_EQ(Html.Head().Status, 401);
        EXPECT_EQ(Html.Head().Reason, "Unauthorized");
        EXPECT_NE(Html.Body().find("<H1>log &lt;on&gt;</H1>"), std::string::npos);
        const Exchange Json = Ask(Basic("anna:x"), HttpVerbGET, "application/json");
        EXPECT_EQ(Json.Body(), "\"log <on>\"");
        EXPECT_EQ(Json.Head().Known.at(HttpHeaderContentType), "application/json");
        const std::string Challenge = Html.Head().Known.at(HttpHeaderWwwAuthenticate);
        if (Type == authBasic) {
            EXPECT_EQ(Challenge, R"(Basic realm="a \"b\" \\c")");
            continue;
        }
        const std::string Start = R"(Digest realm="a \"b\" \\c",qop="auth,auth-int",nonce=")";
        ASSERT_EQ(Challenge.size(), Start.size() + 50 + 10 + 50 + 1);
        EXPECT_TRUE(Challenge.starts_with(Start));
        EXPECT_EQ(Challenge.substr(Start.size() + 50, 10), "\",opaque=\"");
        EXPECT_NE(Challenge, Ask("").Head().Known.at(HttpHeaderWwwAuthenticate)) << "a nonce serves once";
    }
    Handler = [] { throw EZnHTTPAuthenticationFailure::CreateFmt(authBasic, 403, "not %s", "you"); };
    const Exchange Forbidden = Ask(Basic("bert:x"));
    EXPECT_EQ(Forbidden.Head().Status, 403);
    EXPECT_NE(Forbidden.Body().find("<H1>not you</H1>"), std::string::npos);
}

TEST_F(Authentication, LogoffIsNoChallenge)
{
    Handler = [] {
        HTTPResponse()->SetWwwAuthenticate("Basic realm=\"x\"");
        throw EZnHTTPLogoff(authDigest, "bye", 401);
    };
    const Exchange Seen401 = Ask(Basic("anna:secret"));
    EXPECT_EQ(Seen401.Head().Status, 401);
    EXPECT_EQ(Seen401.Head().Known.count(HttpHeaderWwwAuthenticate), 0U);
    EXPECT_NE(Seen401.Body().find("<H1>bye</H1>"), std::string::npos);
}

TEST_F(Authentication, AnOverrideHashesWithTheSalt)
{
    class Salted : public TZnHTTPServer
    {
    public:
        using TZnHTTPServer::TZnHTTPServer;
        ~Salted() override { SetActive(false); }
        std::string CalculatePasswordHash(const std::string& AUser, const std::string& APassword,
                                          const std::string& ASalt) override
        {
            return THashSHA2::GetHashString(ASalt + AUser + APassword);
        }
    };
    Server.SetActive(false); // the script serves one at a time
    Salted Other(nullptr);
    Other.SetOnGetStoredPassword([](auto&, auto, const std::string&, std::string& AHash, std::string&,
                                    std::string& ASalt, TDateTime&) {
        ASalt = "salt";
        AHash = THashSHA2::GetHashString("saltannasecret");
        return true;
    });
    Other.SetOnResponse([](auto&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AAnswer) {
        AAnswer.SetResponseText(ARequest->LogonName);
    });
    Other.SetActive(true);
    EXPECT_EQ(Service.Ask({.Known = {{HttpHeaderAuthorization, Basic("anna:secret")}}}).Body(), "anna");
}

} // namespace
