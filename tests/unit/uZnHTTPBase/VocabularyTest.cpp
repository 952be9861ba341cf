#include "uZnHTTPBase.h"

#include <gtest/gtest.h>

namespace
{

TEST(StatusTexts, KnowsItsCodesAndNoOthers)
{
    int Known = 0;
    for (std::uint32_t Status = 0; Status < 1000; ++Status)
        Known += !HttpStatusMsg(Status).empty();
    EXPECT_EQ(Known, 80);
    EXPECT_EQ(HttpStatusMsg(102), "Processing (WebDAV; RFC 2518) }");
    EXPECT_EQ(HttpStatusMsg(404), "Not Found");
    EXPECT_EQ(HttpStatusMsg(509), "Bandwidth Limit Exceeded (Apache bw/limited extension)[25]");
    EXPECT_FALSE(HttpStatusMsg(419).empty());
    EXPECT_FALSE(HttpStatusMsg(420).empty());
    for (const std::uint32_t Status : {0u, 99u, 103u, 421u, 425u, 430u, 600u, 65536u + 200u})
        EXPECT_EQ(HttpStatusMsg(Status), "") << Status;
}

TEST(HTTPException, MapsItsCodeToAStatus)
{
    const std::pair<int, int> Rows[] = {{404, 404}, {0, 500}, {-1, 500}, {65536 + 200, 200}, {1, 1}};
    for (const auto& [Code, Status] : Rows) {
        const TZnHTTPStatus Found = EZnHTTPException("own text", Code).GetHTTPStatus();
        EXPECT_EQ(Found, (TZnHTTPStatus{static_cast<std::uint16_t>(Status), "own text"})) << Code;
    }
}

TEST(HTTPException, IsToldByItsClass)
{
    const auto Name = [](const std::exception& AException) { return ExceptionClassName(AException); };
    EXPECT_EQ(Name(EZnHTTPNotFound()), "EZnHTTPNotFound");
    EXPECT_EQ(EZnHTTPForbidden().GetHTTPStatus(), (TZnHTTPStatus{403, "Forbidden"}));
    EXPECT_EQ(EZnHTTPException::CreateFmt(418, "%d cups", 3).GetHTTPStatus(), (TZnHTTPStatus{418, "3 cups"}));
    const auto Failure = EZnHTTPApiException::CreateFmt("HttpSend", 5, "%s", "denied");
    EXPECT_EQ(Failure.GetApiFuncName() + Failure.Message() + std::to_string(Failure.GetErrorCode()),
              "HttpSenddenied5");
}

TEST(Vocabulary, WordsStandAtTheirOrdinals)
{
    EXPECT_EQ(ZnHTTPMethod[httpTRACE], "TRACE");
    EXPECT_EQ(ZnHTTPMethod[httpDELETE], "DELETE");
    EXPECT_EQ(ZnHTTPMethod[httpPATCH], "PATCH");
    EXPECT_EQ(ZnHTTPVersion[HTTP1_1], "HTTP/1.1");
}

TEST(Vocabulary, RangesOfMethodsRefuseTheOthers)
{
    EXPECT_EQ(TZnHTTPNoBodyMethod(httpDELETE), httpDELETE);
    EXPECT_EQ(TZnHTTPBodyMethod(httpPOST), httpPOST);
    EXPECT_THROW(TZnHTTPNoBodyMethod{httpPOST}, EAssertionFailed);
    EXPECT_THROW(TZnHTTPBodyMethod{httpDELETE}, EAssertionFailed);
}

} // namespace
