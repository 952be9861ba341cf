#include "uZnWinINetH.h"

#include <gtest/gtest.h>

#include "ScriptedWininet.h"
#include "uZnWinHTTPH.h"

TEST(WinINetErrors, NumberPicksClassAndText)
{
    EXPECT_NO_THROW(HttpCheckError("F", 0, ""));
    EXPECT_THROW(HttpCheckError("F", 12002, ""), EZnWinINetInternetTimeOut);
    EXPECT_THROW(HttpCheckError("F", 12017, ""), EAbort);
    for (const std::uint32_t Code : {12029U, 12030U, 12031U})
        EXPECT_THROW(HttpCheckError("F", Code, ""), EZnWinINetInternetConnect);
    try {
        HttpCheckError("HttpSendRequest", 12045, "URL: http://h/");
    } catch (const EZnWinINetHException& E) {
        EXPECT_EQ(E.Message(), "The call to \"HttpSendRequest\" failed with errorcode \"12045\"!\r\n"
                               "The function is unfamiliar with the Certificate Authority that generated the "
                               "server's certificate.\r\nURL: http://h/");
    }
    EXPECT_EQ(WinINetErrorMsg(12186), WinHttpErrorMsg(12186));
    EXPECT_EQ(WinINetErrorMsg(12999), "Error 12999");
    EXPECT_EQ(WinINetErrorMsg(12035), "Error 12035") << "in neither table";
}

TEST(WinINetBinding, RefusesArgumentsThatDontFit)
{
    ScriptedWininet Script;
    EXPECT_THROW(InternetConnect(nullptr, "h", 80, "", "", stHTTP, true, 0), EZnWinINetInvalidArgument);
    std::string Value;
    EXPECT_THROW(HttpQueryInfo(nullptr, 19, "Name", Value), EZnWinINetInvalidArgument);
    EXPECT_THROW(HttpQueryInfo(nullptr, 65535, "", Value), EZnWinINetInvalidArgument);
    EXPECT_THROW(HttpQueryInfo(nullptr, 65535, std::string(255, 'n'), Value), EZnWinINetInvalidArgument);
    EXPECT_TRUE(Script.TakeCalls().empty());
    InternetConnect(nullptr, "h", 21, "", "", stFTP, true, 0);
    EXPECT_EQ(Script.TakeCalls()[0], "Connect process h 21 - - 1 134217728");
}

TEST(WinINetBinding, ValuesOfAnyLengthArriveWhole)
{
    ScriptedWininet Script;
    HINTERNET const Request = Script.OpenHandle('R', "");
    const std::string Long = std::string(5000, 'a') + "\xC3\xA4\xF0\x9F\x98\x80";
    Script.Sends = {
        {.Fields = {{"long", Long}, {"edge", std::string(254, 'e')}, {"over", std::string(255, 'o')}}}};
    Script.Send(Request, nullptr, 0);
    const auto Ask = [&](const char* AName) {
        std::string Value = "old";
        HttpQueryInfo(Request, 65535, AName, Value);
        return Value;
    };
    EXPECT_EQ(Ask("Long"), Long);
    EXPECT_EQ(Ask("Edge"), std::string(254, 'e'));
    EXPECT_EQ(Ask("Over"), std::string(255, 'o'));
    EXPECT_EQ(Ask("Missing"), "");
}
