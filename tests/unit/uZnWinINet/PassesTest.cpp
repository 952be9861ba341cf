#include "uZnWinINet.h"

#include <gtest/gtest.h>

#include "ScriptedWininet.h"
#include "uZnWinINet/Request.h"

// The calls of whole requests, in order and with their arguments, and where a failed send leads.

namespace
{

using Calls = std::vector<std::string>;

HWND Window(std::uintptr_t ANumber)
{
    return reinterpret_cast<HWND>(ANumber);
}

struct Passes : testing::Test
{
    ScriptedWininet Script;
    TZnWinINetClient Client{nullptr};

    /// The calls of one GET from the opening of the request on, without those that every pass has.
    Calls CallsOf(const std::string& AURL)
    {
        Script.TakeCalls();
        Client.Request(httpGET, AURL, false);
        return Interesting();
    }
    Calls Interesting()
    {
        Calls Result;
        for (std::string& Each : Script.TakeCalls())
            if (Each.starts_with("Send") || Each.starts_with("Dialog") || Each.starts_with("Query") ||
                Each.find(" 31 ") != std::string::npos || Each.find(" 84 ") != std::string::npos)
                Result.push_back(std::move(Each));
        return Result;
    }
};

} // namespace

TEST_F(Passes, PlainGetMakesTheseCallsAndNoOthers)
{
    Script.Sends = {{.Fields = {{"x", "1"}}, .Body = "hello"}};
    EXPECT_EQ(Client.Request(httpGET, " http://h:8080/a?x=1 ", true)->GetResponse(), "hello");
    EXPECT_EQ(Script.TakeCalls(), (Calls{"Open Tolmary WinINet Client 0 - - 0",
                                         "SetOption process 2 30000",
                                         "SetOption process 5 120000",
                                         "SetOption process 6 120000",
                                         "Connect S1 h 8080 - - 3 0",
                                         "SetOption S1 2 30000",
                                         "SetOption S1 5 120000",
                                         "SetOption S1 6 120000",
                                         "OpenRequest C1 GET /a?x=1 HTTP/1.1 - [*/*] 404000",
                                         "SetOption R1 5 120000",
                                         "SetOption R1 6 120000",
                                         "Send R1 0",
                                         "Query R1 19",
                                         "Query R1 20",
                                         "Query R1 22",
                                         "Available R1",
                                         "Query R1 536870917",
                                         "Query R1 134217733",
                                         "Read R1 5",
                                         "Available R1",
                                         "Query R1 65535 content-encoding",
                                         "Close R1"}));
}

TEST_F(Passes, EverySettingReachesItsCallAndAFurtherPassRepeatsThem)
{
    Client.SetHTTPVersion(HTTP1_0);
    Client.SetCookieHandling(chManual);
    Client.SetRedirectPolicy(rdpNever);
    Client.SetDisableCache(true);
    Client.SetSecurityFlags({sfIgnoreInvalidCertDate, sfIgnoreUnknownCA, sfIgnoreWrongUsage});
    EXPECT_EQ(Client.GetSecurityFlags(), (TZnHTTPSecurityFlags{sfIgnoreInvalidCertDate, sfIgnoreUnknownCA}));
    Client.SetAuthentication(authBasic);
    Client.GetCredentials().SetUserName("user");
    Client.GetCredentials().SetPassword("pass");
    Client.GetProxyCredentials().SetUserName("proxyuser");
    Client.GetProxyCredentials().SetPassword("gr\xC3\xBC\xC3\x9F");
    Client.GetRequestHeaders().SetReferer("http://from/");
    Client.GetRequestHeaders().SetAccept("text/a;text/b");
    Client.GetRequestHeaders().SetCookie("dropped=1");
    Client.SetOnRequest([](TObject*, const std::shared_ptr<IZnHTTPRequest>& ARequest) {
        ARequest->AddHeader("X-Late", "2");
    });
    Client.GetSession()->GetCookies().Add({}, "stored=4");
    Client.EnableErrorDialog(Window(7));
    Script.Sends = {{.Error = 12038}};
    Script.DialogResults = {0};
    TMemoryStream Body;
    Body.SetSize(30);
    Body.SetPosition(10);
    const auto Request = Client.PrepareRequest(httpPOST, "https://u@h/", &Body, "text/new");
    Request->AddCookie("early", "6");
    Request->SendRequest();
    const Calls All = Script.TakeCalls();
    const auto Pass = [](std::uint32_t AFlags) {
        return Calls{"AddHeaders R1 Cookie: dropped=1|Content-Type: text/new| a0000000",
                     "AddHeaders R1 Cookie: 80000000",
                     "AddHeaders R1 Cookie: stored=4 21000000",
                     "AddHeaders R1 Cookie: early=6 21000000",
                     "SetOption R1 31 " + std::to_string(AFlags),
                     "AddHeaders R1 Authorization: Basic dXNlcjpwYXNz a0000000",
                     "AddHeaders R1 X-Late: 2 a0000000",
                     "Send R1 20"};
    };
    Calls Expected{"Connect S1 h 443 u pass 3 0",
                   "SetOption S1 2 30000",
                   "SetOption S1 5 120000",
                   "SetOption S1 6 120000",
                   "SetOption C1 43 proxyuser",
                   "SetOption C1 44 gr\xC3\xBC\xC3\x9F",
                   "OpenRequest C1 POST / HTTP/1.0 http://from/ [text/a][text/b] 4e80100",
                   "SetOption R1 5 120000",
                   "SetOption R1 6 120000"};
    std::ranges::copy(Pass(8192 + 256), std::back_inserter(Expected));
    Expected.push_back("Dialog 7 R1 12038 3");
    std::ranges::copy(Pass(8192 + 256 + 4096), std::back_inserter(Expected));
    std::ranges::copy(Calls{"Query R1 19", "Query R1 20", "Query R1 22"}, std::back_inserter(Expected));
    const auto From = std::ranges::find(All, Expected[0]);
    EXPECT_EQ(Calls(From, All.end()), Expected);
    EXPECT_EQ(Client.GetSecurityFlags(), (TZnHTTPSecurityFlags{sfIgnoreInvalidCertDate, sfIgnoreUnknownCA}))
        << "what the user forgives counts for one request";
}

/// What comes of a first send that fails.
TEST_F(Passes, AFailedSendLeadsHere)
{
    enum class TOutcome { Good, Fails, Cancelled, BadArgument };
    struct TCase
    {
        const char* Name;
        std::vector<std::uint32_t> Errors; // of the sends
        std::uintptr_t Parent;             // given by OnError
        bool Allow;
        TZnHTTPSecurityFlags Flags;
        std::deque<std::uint32_t> Results; // of the dialog
        TOutcome Outcome;
        std::size_t Sends;
        std::size_t Questions;
    };
    const TCase Cases[] = {
        {"no parent", {12045}, 0, true, {}, {0}, TOutcome::Fails, 1, 0},
        {"no parent goes before a flag", {12045}, 0, true, {sfIgnoreUnknownCA}, {}, TOutcome::Fails, 1, 0},
        {"forgiven: once more", {12045}, 1, true, {sfIgnoreUnknownCA}, {}, TOutcome::Good, 2, 0},
        {"forgiven: not twice", {12045, 12045}, 1, true, {sfIgnoreUnknownCA}, {}, TOutcome::Fails, 2, 0},
        {"accepted", {12037}, 1, true, {}, {0}, TOutcome::Good, 2, 1},
        {"accepted, but not allowed", {12037}, 1, false, {}, {0}, TOutcome::Fails, 1, 1},
        {"accepted twice", {12045, 12038}, 1, true, {}, {0, 0}, TOutcome::Good, 3, 2},
        {"revoked", {12170}, 1, true, {}, {0}, TOutcome::Good, 2, 1},
        {"accepted in vain", {12055, 12055, 12055}, 1, true, {}, {0}, TOutcome::Fails, 3, 1},
        {"no flag for it", {12039}, 1, true, {}, {0}, TOutcome::Fails, 1, 1},
        {"force retry", {12040}, 1, true, {}, {12032}, TOutcome::Good, 2, 1},
        {"cancelled", {12045}, 1, true, {}, {1223}, TOutcome::Cancelled, 1, 1},
        {"window", {12045}, 1, true, {}, {6}, TOutcome::BadArgument, 1, 1},
        {"dialog fails", {12045}, 1, true, {}, {8}, TOutcome::Fails, 1, 1},
        {"not for the user", {12007}, 1, true, {}, {0}, TOutcome::Fails, 1, 0},
        {"the library wants a resend", {12032}, 1, true, {}, {0}, TOutcome::Fails, 1, 0},
        {"without an end",
         std::vector<std::uint32_t>(99, 12040),
         1,
         true,
         {},
         std::deque<std::uint32_t>(99, 12032),
         TOutcome::Fails,
         Zn::cWinINetMaxPasses,
         Zn::cWinINetMaxPasses},
    };
    for (const TCase& Case : Cases) {
        SCOPED_TRACE(Case.Name);
        Script.Sends.clear();
        for (const std::uint32_t Error : Case.Errors)
            Script.Sends.push_back({.Error = Error});
        Script.DialogResults = Case.Results;
        Client.SetSecurityFlags(Case.Flags);
        Client.SetOnError([&](TObject* ASender, std::uint32_t ACode, HWND& AParent, bool& AAllow) {
            EXPECT_NE(dynamic_cast<IZnHTTPRequest*>(ASender), nullptr);
            EXPECT_NE(std::ranges::count(Case.Errors, ACode), 0);
            AParent = Window(Case.Parent);
            AAllow = Case.Allow;
        });
        TOutcome Outcome = TOutcome::Good;
        try {
            Client.Request(httpGET, "https://u:secret@h/", false);
        } catch (const EZnHTTPClientApiException& E) {
            Outcome = TOutcome::Fails;
            EXPECT_EQ(E.GetServerError(), "URL: https://h/") << "no password in an error's text";
        } catch (const EZnWinINetInvalidArgument&) {
            Outcome = TOutcome::BadArgument;
        } catch (const EAbort& E) {
            EXPECT_EQ(E.Message(), "Cancelled");
            Outcome = TOutcome::Cancelled;
        }
        EXPECT_EQ(Outcome, Case.Outcome);
        const Calls Made = Script.TakeCalls();
        const auto Count = [&](const char* ABegin) {
            return static_cast<std::size_t>(
                std::ranges::count_if(Made, [&](auto& AEach) { return AEach.starts_with(ABegin); }));
        };
        EXPECT_EQ(Count("Send"), Case.Sends);
        EXPECT_EQ(Count("Dialog"), Case.Questions);
        EXPECT_EQ(Count("Query R"), Outcome == TOutcome::Good ? 3U : 0U);
    }
}

TEST_F(Passes, CertificateDemandIsAnsweredOnceAndOnlyWhenAsked)
{
    int Asked = 0;
    Script.Sends = {{.Error = 12044}};
    EXPECT_THROW(Client.Request(httpGET, "https://h/", false), EZnWinINetHException) << "nobody to ask";
    Client.SetOnGetClientCertificate([&](auto& ASet) { ASet("PEM", 3), ++Asked; });
    EXPECT_EQ(CallsOf("https://h/"), (Calls{"Send R2 0", "Query R2 19", "Query R2 20", "Query R2 22"}));
    EXPECT_EQ(Asked, 0);
    Script.Sends = {{.Error = 12044}, {.Status = "204"}};
    EXPECT_EQ(CallsOf("https://h/"), (Calls{"Send R3 0", "SetOption R3 84 PEM", "Send R3 0", "Query R3 19",
                                            "Query R3 20", "Query R3 22"}));
    Script.Sends = {{.Error = 12044}, {.Error = 12044}};
    EXPECT_THROW(Client.Request(httpGET, "https://h/", false), EZnWinINetHException);
    EXPECT_EQ(Asked, 2);
}

TEST_F(Passes, ARefusedLogonIsTheResponseUnlessSomebodyIsAsked)
{
    Script.Sends = {{.Status = "401"}};
    const auto Response = Client.Request(httpGET, "http://u:secret@h/", false);
    EXPECT_EQ(Response->GetStatus().StatusCode, 401);
    EXPECT_EQ(Client.GetAuthentication(), authNone) << "nothing is learnt";
    try {
        Response->CheckError();
        FAIL();
    } catch (const EZnWinINetHException& E) {
        EXPECT_EQ(E.GetErrorCode(), 12015);
        EXPECT_EQ(E.GetApiFuncName(), "http://h/");
    }
    Client.EnableErrorDialog(Window(7));
    const struct
    {
        const char* Status;
        std::deque<std::uint32_t> Results;
        Calls Expected;
    } Cases[] = {{"407", {0}, {"Send", "Query", "Query", "Dialog", "Query"}},
                 {"401", {12032}, {"Send", "Query", "Query", "Dialog", "Send", "Query", "Query", "Query"}}};
    for (const auto& Case : Cases) {
        Script.Sends = {{.Status = Case.Status}};
        Script.DialogResults = Case.Results;
        Calls Made = CallsOf("http://h/");
        for (std::string& Each : Made)
            Each.resize(Each.find(' '));
        EXPECT_EQ(Made, Case.Expected) << Case.Status;
    }
    Client.DisableErorDialog();
    Script.Sends = {{.Status = "four"}};
    EXPECT_THROW(Client.Request(httpGET, "http://h/", false), EConvertError);
}

TEST_F(Passes, CredentialsBelongToTheConnection)
{
    Client.SetAuthentication(authNEGIOTIATE);
    EXPECT_EQ(Client.GetAuthentication(), authNone);
    Client.SetAuthentication(authBasic);
    Client.Request(httpGET, "http://first:one@h/", false);
    Client.Request(httpGET, "http://second:two@h/", false);
    const Calls All = Script.TakeCalls();
    EXPECT_EQ(std::ranges::count_if(All, [](auto& AEach) { return AEach.starts_with("Connect"); }), 1);
    EXPECT_NE(std::ranges::find(All, "Connect S1 h 80 first one 3 0"), All.end());
    EXPECT_FALSE(std::ranges::any_of(All, [](auto& AEach) {
        return AEach.find("Authorization") != AEach.npos;
    })) << "only the client's own go out unasked";
}

/// Every call of an exchange fails once: the error is told, nothing stays open, the next request works.
TEST_F(Passes, AnyCallMayFail)
{
    const auto Run = [](TZnWinINetClient& AClient) {
        AClient.SetCookieHandling(chManual);
        AClient.GetRequestHeaders().SetFrom("me");
        AClient.GetProxyCredentials().SetUserName("v");
        AClient.SetSecurityFlags({sfIgnoreUnknownCA});
        AClient.EnableErrorDialog(Window(7));
        return AClient.Request(httpPOST, "https://h/", std::string("body"), "text/plain", true)
            ->GetResponse();
    };
    for (int Failing = 0;; ++Failing) {
        ScriptedWininet Inner;
        {
            TZnWinINetClient Other(nullptr);
            Inner.Sends = {{.Error = 12045}, {.Body = "body"}};
            Inner.FailCall = Failing;
            try {
                Run(Other);
            } catch (const EZnHTTPConnect& E) {
                EXPECT_EQ(E.GetErrorCode(), 12030);
            }
            if (Inner.CallCount() <= Failing) {
                EXPECT_GT(Failing, 25);
                break;
            }
            Inner.FailCall = -1;
            Inner.Sends = {{.Body = "again"}};
            EXPECT_EQ(Run(Other), "again");
        }
        EXPECT_EQ(Inner.OpenHandles(), 0U) << "call " << Failing;
    }
}
