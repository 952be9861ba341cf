#include "uZnHTTPServer/LogonRedirect.h"

#include <optional>

#include <gtest/gtest.h>

#include "ScriptedService.h"
#include "common/Exceptions.h"
#include "tests/support/ManualTimers.h"

namespace
{

constexpr std::string_view cDeleted = "deleted; Path=/; Expires=Thu, 01 Jan 1970 00:00:01 GMT";

class TLogonServer : public TZnHTTPServer
{
public:
    explicit TLogonServer(Zn::Timers& ATimers) : TZnHTTPServer(nullptr)
    {
        FAuthTokenManager = std::make_unique<TZnHTTPServerAuthTokenManager>(*this, ATimers);
        SetOnGetStoredPassword([this](auto&, TZnHTTPAuthentication AType, const std::string& AUser,
                                      std::string& AHash, std::string& ARole, std::string&, TDateTime& AExp) {
            EXPECT_EQ(AType, authBasic);
            if (AUser != "ada")
                return false;
            AHash = CalculatePasswordHash("ada", "se:c ret", "");
            ARole = "Admin";
            AExp = 45'000;
            return true;
        });
    }
    ~TLogonServer() override { SetActive(false); }
    void PretendDefaultSSL() { FSSLModes.Include(ssmDefaultSSL); }
};

/// A browser with the one cookie that matters.
class FormLogon : public testing::Test
{
protected:
    void SetUp() override
    {
        Server.SetLogonUrl("logon.html");
        Server.SetLogoffUrl("/logoff.html");
        Server.SetOnResponse([this](auto&, PZnHTTPServerRequest ARequest, TZnHTTPServerResponse& AResponse) {
            Handled = *ARequest;
            if (ARequest->UrlData.FilePath.starts_with("/private") &&
                ARequest->AuthenticationType == authNone)
                throw EZnHTTPAuthenticationFailure(authBasic, "Log on, please.", 401);
            AResponse.SetResponseText("page");
        });
        Server.SetActive(true);
    }

    struct TAnswer
    {
        Exchange Seen;
        std::uint16_t Status = 0;
        std::string Reason;
        std::string Location;
        std::string Error; // of the cookie "X-Auth-Error"
        std::string Body;
    };

    /// Asks for a path, takes and sends the cookie.
    TAnswer Ask(const std::string& APath, THTTP_VERB AVerb = HttpVerbGET, const std::string& ABody = {},
                std::map<THTTP_HEADER_ID, std::string> AHeaders = {})
    {
        Handled.reset();
        ScriptedRequest Request{.Verb = AVerb, .Known = std::move(AHeaders)};
        Request.Url = Origin + std::u16string(APath.begin(), APath.end());
        if (!Cookie.empty())
            Request.Known[HttpHeaderCookie] = "other=1; " + CookieName + "=" + Cookie;
        if (!ABody.empty()) {
            Request.Known[HttpHeaderContentLength] = std::to_string(ABody.size());
            Request.Body.emplace_back(0, ABody);
        }
        TAnswer Answer;
        Answer.Seen = Service.Ask(std::move(Request));
        const SendCall& Head = Answer.Seen.Head();
        Answer.Status = Head.Status;
        Answer.Reason = Head.Reason;
        Answer.Body = Answer.Seen.Calls.size() > 1 ? Answer.Seen.Body() : "";
        SetCookie.clear();
        for (const auto& [Name, Value] : Head.Unknown) {
            if (Name == "Location")
                Answer.Location = Value;
            if (Name != "Set-Cookie")
                continue;
            if (Value.starts_with("X-Auth-Error="))
                Answer.Error = Value.substr(13);
            else if (Value.starts_with(CookieName + "="))
                SetCookie = Value.substr(CookieName.size() + 1);
            else
                ADD_FAILURE() << "a strange cookie: " << Value;
        }
        if (!SetCookie.empty())
            Cookie = SetCookie.starts_with("deleted") ? "" : SetCookie.substr(0, SetCookie.find(';'));
        return Answer;
    }

    TAnswer Post(const std::string& ABody, const std::string& APath = "/logon.html")
    {
        return Ask(APath, HttpVerbPOST, ABody);
    }
    TAnswer PostRight() { return Post("userName=ada&password=se%3ac%20ret"); }
    void LogOn()
    {
        Ask("/private.html");
        ASSERT_EQ(PostRight().Reason, "Logged On");
    }
    int Tokens() { return Server.GetAuthTokenManager().GetTokens()->Count(); }

    void ExpectAnonymousPage(const TAnswer& AAnswer, std::string_view AWhat)
    {
        EXPECT_EQ(AAnswer.Status, 200) << AWhat;
        ASSERT_TRUE(Handled.has_value()) << AWhat;
        EXPECT_EQ(Handled->AuthenticationType, authNone) << AWhat;
        EXPECT_EQ(Handled->RoleName, "Anonymous") << AWhat;
        EXPECT_EQ(Handled->AuthTokenId, "") << AWhat;
    }

    Zn::ManualTimers Timers;
    ScriptedService Service;
    TLogonServer Server{Timers};
    std::u16string Origin = u"http://localhost:8080";
    std::string CookieName = "X-Auth-Token-8080";
    std::string Cookie;                          // what the browser keeps
    std::string SetCookie;                       // of the last answer
    std::optional<TZnHTTPServerRequest> Handled; // what the handler saw, if it ran
};

TEST_F(FormLogon, WalksFromThePageToTheFormAndBack)
{
    const TAnswer Sent = Ask("/private.html?a=1");
    const std::string Id = Cookie;
    EXPECT_EQ(Sent.Status, 302);
    EXPECT_EQ(Sent.Reason, "Form Authentication Redirect");
    EXPECT_EQ(Sent.Location, "/logon.html");
    EXPECT_EQ(Sent.Body, "<head>  <meta http-equiv=\"Refresh\" content=\"0; "
                         "URL=http://localhost:8080/logon.html\"></head>");
    EXPECT_EQ(SetCookie, Id + "; SameSite=Strict; Path=/");
    EXPECT_EQ(Id.size(), 50U);

    ExpectAnonymousPage(Ask("/logon.html"), "the logon page");
    ExpectAnonymousPage(Ask("/style.css"), "another file");

    const TAnswer In = PostRight();
    EXPECT_FALSE(Handled.has_value());
    EXPECT_EQ(In.Status, 302);
    EXPECT_EQ(In.Reason, "Logged On");
    EXPECT_EQ(In.Location, "http://localhost:8080/private.html?a=1");
    EXPECT_EQ(In.Body, "<head>  <meta http-equiv=\"Refresh\" content=\"0; "
                       "URL=http://localhost:8080/private.html?a=1\"></head>");
    EXPECT_EQ(SetCookie, "") << "the token that was requested becomes the session";

    const TAnswer Page = Ask("/private.html?a=1");
    EXPECT_EQ(Page.Status, 200);
    EXPECT_EQ(SetCookie, "");
    EXPECT_EQ(Handled->AuthenticationType, authOther);
    EXPECT_EQ(Handled->LogonName, "ada");
    EXPECT_EQ(Handled->RoleName, "Admin");
    EXPECT_EQ(Handled->PasswordExp, 45'000);
    EXPECT_EQ(Handled->AuthTokenId, Id);
    EXPECT_NEAR(Handled->AuthTokenExp, Now() + 1 / 24.0, 0.01);

    const TAnswer Again = Ask("/logon.html");
    EXPECT_EQ(Again.Reason, "Already Logged On");
    EXPECT_EQ(Again.Location, "http://localhost:8080/private.html?a=1");
    EXPECT_EQ(Ask("/private.html", HttpVerbPOST, "x=1").Status, 200);
    Server.SetActive(false);
    Server.SetActive(true);
    EXPECT_EQ(Ask("/private.html").Status, 200) << "stopping the server doesn't end sessions";

    ExpectAnonymousPage(Ask("/logoff.html"), "logoff");
    EXPECT_EQ(SetCookie, cDeleted);
    Cookie = Id; // replayed while the token is still leaving, and afterwards
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(Ask("/style.css").Status, 200);
        EXPECT_EQ(SetCookie, cDeleted);
        EXPECT_EQ(Handled->AuthenticationType, authNone);
        Cookie = Id;
        Timers.Advance();
    }
    EXPECT_EQ(Tokens(), 0);
    EXPECT_EQ(Ask("/private.html").Reason, "Form Authentication Redirect");
    EXPECT_NE(Cookie, Id);
}

TEST_F(FormLogon, AWrongPasswordEndsTheTokenAndGivesANewOne)
{
    Ask("/private.html");
    const std::string Old = Cookie;
    for (const char* Form : {"userName=ada&password=wrong", "userName=eve&password=se:c%20ret",
                             "userName=ada", "nothing=here", "password=se%3Ac%20ret"}) {
        const TAnswer Wrong = Post(Form);
        EXPECT_EQ(Wrong.Status, 302) << Form;
        EXPECT_EQ(Wrong.Reason, "Invalid Username and/or Password");
        EXPECT_EQ(Wrong.Location, "/logon.html");
        EXPECT_EQ(Wrong.Error, "Invalid Username and/or Password;Path=/; Max-Age=5");
        EXPECT_NE(Cookie, Old);
        EXPECT_EQ(SetCookie, Cookie + "; SameSite=Strict; Path=/");
        EXPECT_FALSE(Handled.has_value());
    }
    const std::string New = Cookie;
    Cookie = Old; // a second post with it, whoever sends it, only loses the cookie
    ExpectAnonymousPage(PostRight(), "a post with the old token");
    EXPECT_EQ(SetCookie, cDeleted);
    Cookie = New;
    EXPECT_EQ(PostRight().Location, "http://localhost:8080/private.html") << "the page isn't forgotten";
    Timers.Advance();
    EXPECT_EQ(Tokens(), 1);
}

TEST_F(FormLogon, TheSeventhFailureKeepsTokenAndCookie)
{
    Ask("/private.html");
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(Post("userName=ada&password=no").Reason, "Invalid Username and/or Password");
    const std::string Kept = Cookie;
    const TAnswer Stopped = Post("userName=ada&password=no");
    EXPECT_EQ(Stopped.Status, 302);
    EXPECT_EQ(Stopped.Location, "/logon.html");
    EXPECT_EQ(Stopped.Reason, "Too many authentication failures!");
    EXPECT_EQ(Stopped.Error, "Too many authentication failures!;Path=/; Max-Age=5");
    EXPECT_EQ(SetCookie, "");
    EXPECT_EQ(Cookie, Kept);
    EXPECT_EQ(PostRight().Reason, "Logged On") << "only failures look at the count";
}

TEST_F(FormLogon, WhatIsNoLogonPostGoesToTheHandler)
{
    Ask("/private.html");
    const std::string Form = "userName=ada&password=se%3ac%20ret";
    ExpectAnonymousPage(Post(Form, "/logon.html?x"), "a query makes it another resource");
    ExpectAnonymousPage(Post(Form, "/LOGON.html"), "case makes it another resource");
    ExpectAnonymousPage(Ask("/logon.html", HttpVerbPUT, Form), "another method");
    ExpectAnonymousPage(Ask("/logon.html", HttpVerbPOST), "no body");
    Cookie.clear();
    ExpectAnonymousPage(Post(Form), "nobody asked for this logon");
    EXPECT_EQ(SetCookie, "");
}

TEST_F(FormLogon, BadFormsAreToldAtTheLogonPage)
{
    Ask("/private.html");
    const std::string Kept = Cookie;
    const TAnswer Bad = Post("userName=%zz%0d%0aX: y");
    EXPECT_EQ(Bad.Status, 302);
    EXPECT_EQ(Bad.Location, "/logon.html");
    EXPECT_NE(Bad.Error, "");
    EXPECT_EQ(Bad.Reason.find_first_of("\r\n"), std::string::npos);
    const TAnswer Long = Post("userName=ada&password=" + std::string(70'000, 'x'));
    EXPECT_EQ(Long.Reason, "The logon form is too large!");
    EXPECT_EQ(Service.BodyCalls(), 1U) << "a body of that length isn't even read";
    EXPECT_EQ(Cookie, Kept);
    EXPECT_EQ(PostRight().Reason, "Logged On");
}

TEST_F(FormLogon, TheSessionBelongsToTheAccountThatWasChecked)
{
    Ask("/private.html");
    // Basic ends the user name at the first colon and trims: this is ada's password, so it is ada.
    ASSERT_EQ(Post("userName=%20ada:se&password=c%20ret").Reason, "Logged On");
    Ask("/private.html");
    EXPECT_EQ(Handled->LogonName, "ada");
}

TEST_F(FormLogon, StaleAndForeignCookiesAreDeletedAndTheRequestIsAnonymous)
{
    Cookie = std::string(50, 'x');
    ExpectAnonymousPage(Ask("/style.css"), "guessed");
    EXPECT_EQ(SetCookie, cDeleted);
    LogOn();
    const std::string Id = Cookie;
    Timers.Advance(3'600'000);
    ExpectAnonymousPage(Ask("/style.css"), "expired");
    EXPECT_EQ(SetCookie, cDeleted);
    Cookie = Id;
    const TAnswer Anew = Ask("/private.html");
    EXPECT_EQ(Anew.Reason, "Form Authentication Redirect");
    EXPECT_EQ(SetCookie, Cookie + "; SameSite=Strict; Path=/") << "one cookie, and it isn't the deleted one";
}

TEST_F(FormLogon, ThousandCookiesAndAnEmptyOneChangeNothing)
{
    const std::int32_t BufferSize = std::exchange(RequestBufferSize, 32'768);
    Server.SetActive(false);
    Server.SetActive(true);
    LogOn();
    std::string Many;
    for (int i = 0; i < 1000; ++i)
        Many += "c" + std::to_string(i) + "=" + std::to_string(i) + "; ";
    const std::string Id = std::exchange(Cookie, "");
    EXPECT_EQ(
        Ask("/private.html", HttpVerbGET, {}, {{HttpHeaderCookie, Many + CookieName + "=" + Id}}).Status,
        200);
    EXPECT_EQ(Handled->LogonName, "ada");
    ExpectAnonymousPage(Ask("/style.css", HttpVerbGET, {}, {{HttpHeaderCookie, CookieName + "=; " + Many}}),
                        "an empty cookie is none");
    EXPECT_EQ(SetCookie, "");
    Server.SetActive(false);
    RequestBufferSize = BufferSize;
}

TEST_F(FormLogon, RefusalsThatAreNoPagesGetAChallenge)
{
    const struct
    {
        const char* Path;
        THTTP_VERB Verb;
        int Status;
    } Cases[] = {{"/private/", HttpVerbGET, 302},      {"/private.html", HttpVerbGET, 302},
                 {"/private.shtml", HttpVerbGET, 401}, {"/private.json", HttpVerbGET, 401},
                 {"/private.html", HttpVerbHEAD, 401}, {"/private.html", HttpVerbPUT, 401},
                 {"/private.html", HttpVerbPOST, 403}, {"/private.json", HttpVerbPOST, 401}};
    for (const auto& Case : Cases) {
        Cookie.clear();
        const TAnswer Answer = Ask(Case.Path, Case.Verb);
        EXPECT_EQ(Answer.Status, Case.Status) << Case.Path;
        EXPECT_EQ(Answer.Seen.Head().Known.contains(HttpHeaderWwwAuthenticate), Case.Status == 401)
            << Case.Path;
        if (Case.Status == 403) {
            EXPECT_EQ(Answer.Reason, "Forbidden");
            EXPECT_EQ(Answer.Body, "Forbidden");
            EXPECT_EQ(SetCookie, cDeleted);
        }
    }
    Server.SetLogonUrl(""); // which is "/": form logon is off
    EXPECT_EQ(Server.GetLogonUrl(), "/");
    EXPECT_EQ(Ask("/private.html").Status, 401);
    EXPECT_EQ(Tokens(), 2);
}

TEST_F(FormLogon, JsonClientsGetTheirContentTypeOnTheRedirect)
{
    const TAnswer Sent = Ask("/private.html", HttpVerbGET, {}, {{HttpHeaderAccept, "application/json"}});
    EXPECT_EQ(Sent.Status, 302);
    EXPECT_EQ(Sent.Seen.Head().Known.at(HttpHeaderContentType), "application/json");
}

TEST_F(FormLogon, VisitorsOfTheLogonPageGoToTheDefaultPage)
{
    ExpectAnonymousPage(Ask("/logon.html"), "no default page");
    Server.SetDefaultUrl("start.html");
    const TAnswer Visitor = Ask("/logon.html");
    EXPECT_EQ(Visitor.Status, 302);
    EXPECT_EQ(Visitor.Reason, "Ok");
    EXPECT_EQ(Visitor.Location, "start.html");
    EXPECT_EQ(Visitor.Error, "");
    Ask("/private.html");
    ExpectAnonymousPage(Ask("/logon.html"), "with a token the page is shown");
}

TEST_F(FormLogon, SecureServersAndRequestsGetSecureCookies)
{
    Origin = u"https://localhost:8443";
    CookieName = "X-Auth-Token-8443";
    Ask("/private.html");
    EXPECT_EQ(SetCookie, Cookie + "; Secure; SameSite=Strict; Path=/");

    // A server with https on 443: also what came by http is led there.
    Server.PretendDefaultSSL();
    Origin = u"http://localhost:8080";
    CookieName = "X-Auth-Token-8080";
    Cookie.clear();
    Ask("/private.html?a=1");
    EXPECT_EQ(SetCookie, Cookie + "; Secure; SameSite=Strict; Path=/");
    EXPECT_EQ(PostRight().Location, "https://localhost/private.html?a=1");

    auto& Manager = Server.GetAuthTokenManager();
    for (const char* Kept : {"", "about:blank"})
        EXPECT_EQ(Manager.FindToken(Manager.GenerateTokenRequest(ZnMakeAuthToken, Kept))->GetRedirectUri(),
                  Kept);
}

TEST_F(FormLogon, WithoutRoomForATokenTheAnswerIs503)
{
    Server.GetAuthTokenManager().SetMaxTokens(1);
    LogOn();
    const std::string Session = std::exchange(Cookie, "");
    const TAnswer Full = Ask("/private.html");
    EXPECT_EQ(Full.Status, 503);
    EXPECT_NE(Full.Body.find("ERROR 503: Too many users are logged on! Try again later."), std::string::npos);
    EXPECT_EQ(SetCookie, "");
    Cookie = Session;
    EXPECT_EQ(Ask("/private.html").Status, 200);
}

TEST_F(FormLogon, UrlsGetTheirSlash)
{
    Server.SetLogonUrl("/a.html ");
    EXPECT_EQ(Server.GetLogonUrl(), "/a.html");
    Server.SetLogoffUrl("b.html ");
    EXPECT_EQ(Server.GetLogoffUrl(), "/b.html ");
    Server.SetDefaultUrl("c.html ");
    EXPECT_EQ(Server.GetDefaultUrl(), "c.html ");
}

TEST(LogonRedirect, KeepsMessagesInOneLineAndUrlsOutOfTheMarkup)
{
    EXPECT_EQ(Zn::RefreshPage("/a\"><script>&b"),
              "<head>  <meta http-equiv=\"Refresh\" content=\"0; URL=/a%22%3E%3Cscript%3E&b\"></head>");
    TZnHTTPServer Server(nullptr);
    TZnHTTPServerRequest Request;
    TZnHTTPServerResponse Response(Server, &Request);
    Zn::AuthRedirect(Response, "/l", true, "one\r\ntwo; HttpOnly");
    EXPECT_EQ(Response.GetStatusDescription(), "one  two; HttpOnly");
    EXPECT_EQ(Response.GetUnknownHeaders()[0].Value, "X-Auth-Error=one  two, HttpOnly;Path=/; Max-Age=5");
}

} // namespace
