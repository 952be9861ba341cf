#include "uZnWinHTTPH.h"

#include <gtest/gtest.h>

#include "ScriptedWinhttp.h"
#include "platform/errors/Errors.h"

TEST(WinHttpErrors, NumberPicksTheClass)
{
    EXPECT_NO_THROW(WinHttpCheckError("F", 0, ""));
    EXPECT_THROW(WinHttpCheckError("F", 12002, ""), EZnWinHTTPTimeOut);
    EXPECT_THROW(WinHttpCheckError("F", 12017, ""), EAbort);
    for (const std::uint32_t Code : {12029U, 12030U, 12031U})
        EXPECT_THROW(WinHttpCheckError("F", Code, ""), EZnWinHTTPConnect);
    EXPECT_THROW(WinHttpCheckError("F", 12007, ""), EZnWinHTTPHException);
    SetLastError(12002);
    EXPECT_THROW(WinHttpCheckError("F", ""), EZnHTTPTimeOut);
}

TEST(WinHttpErrors, MessageHasUpToThreeLines)
{
    const auto MessageOf = [](std::uint32_t ACode, const std::string& AServerError) -> std::string {
        try {
            WinHttpCheckError("WinHttpSendRequest", ACode, AServerError);
        } catch (const EZnHTTPClientApiException& E) {
            EXPECT_EQ(E.GetApiFuncName(), "WinHttpSendRequest");
            EXPECT_EQ(E.GetServerError(), AServerError);
            return E.Message();
        }
        return {};
    };
    EXPECT_EQ(MessageOf(12002, "x"), "The call to \"WinHttpSendRequest\" failed with errorcode \"12002\"!\r\n"
                                     "The request has timed out.\r\nx");
    EXPECT_EQ(MessageOf(12031, ""), "The call to \"WinHttpSendRequest\" failed with errorcode \"12031\"!");
    EXPECT_EQ(MessageOf(12999, ""), "The call to \"WinHttpSendRequest\" failed with errorcode \"12999\"!");
    for (const std::uint32_t Code : {6U, 8U, 18U, 50U, 122U, 259U, 12004U, 12057U, 12103U, 12167U, 12186U})
        EXPECT_FALSE(WinHttpErrorMsg(Code).starts_with("Error ")) << Code;
    EXPECT_EQ(WinHttpErrorMsg(12172), "Obsolete; no longer used.");
}

TEST(WinHttpBinding, RefusesArgumentsThatDontFit)
{
    ScriptedWinhttp Script;
    EXPECT_THROW(WinHttpOpen("", atDirect, "p", "", false), EZnWinHTTPInvalidArgument);
    EXPECT_THROW(WinHttpOpen("", atProxy, "", "", false), EZnWinHTTPInvalidArgument);
    std::string Value;
    EXPECT_THROW(WinHttpQueryHeaders(nullptr, 19, "Name", Value), EZnWinHTTPInvalidArgument);
    EXPECT_THROW(WinHttpQueryHeaders(nullptr, 65535, "", Value), EZnWinHTTPInvalidArgument);
    std::uint32_t Size = 0;
    EXPECT_THROW(WinHttpQueryHeaders(nullptr, 65535, nullptr, Size), EZnWinHTTPInvalidArgument);
    EXPECT_THROW(WinHttpAddRequestHeaders(nullptr, std::string_view("a\0b", 3), {mfAdd}, true),
                 EZnHTTPInvalidArgument);
    EXPECT_TRUE(Script.TakeCalls().empty());
}

TEST(WinHttpBinding, LongAndForeignTextsArriveWhole)
{
    ScriptedWinhttp Script;
    const std::string Long = std::string(5000, 'a') + "\xC3\xA4\xF0\x9F\x98\x80";
    void* const Session = WinHttpOpen(Long, atDefault, "", "", false);
    EXPECT_EQ(Script.TakeCalls()[0], "Open " + Long + " 0 - - 0");
    void* const Request =
        WinHttpOpenRequest(WinHttpConnect(Session, "h", 80), "GET", "", {orDisableEscaping}, "", "", "");
    Script.Responses = {{.Fields = "X: " + Long + "\r\nx: second\r\n"}};
    WinHttpSendRequest(Request, 0, nullptr, 0, "", 0, true);
    std::string Value;
    WinHttpQueryHeaders(Request, 65535, "X", Value);
    EXPECT_EQ(Value, Long + "\r\nsecond");
    WinHttpQueryHeaders(Request, 65535, "Y", Value);
    EXPECT_EQ(Value, "");
}

TEST(WinHttpBinding, MissingLibraryAndFunctionsAreTold)
{
    ZnUnloadWinHTTP();
    {
        const TZnScopedLibrary Empty("Winhttp.dll", {});
        EXPECT_THROW(WinHttpOpen("", atDefault, "", "", false), EAssertionFailed);
        ZnUnloadWinHTTP();
    }
}
