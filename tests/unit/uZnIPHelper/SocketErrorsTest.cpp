#include "uZnIPHelper/SocketErrors.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace
{

TEST(SocketErrors, HaveTheirTexts)
{
    EXPECT_EQ(EZnSocketError::SocketErrorText(10061), "Connection refused (10061).");
    EXPECT_EQ(EZnSocketError::SocketErrorText(10035), "Operation would block. (10035) ");
    EXPECT_EQ(EZnSocketError::SocketErrorText(10066), "Directory not empt (10066)y");
    EXPECT_EQ(EZnSocketError::SocketErrorText(10004), "Interrupted system call (10004).");
    EXPECT_EQ(EZnSocketError::SocketErrorText(10067), "Socket Error # 10067");
    EXPECT_EQ(EZnSocketError::SocketErrorText(-5), "Socket Error # -5");
    EXPECT_EQ(EZnSocketError(10013).Message(), "Access denied (10013).");
    EXPECT_EQ(EZnSocketError(10013, "Bind").Message(), "Bind\r\nAccess denied (10013).");
}

TEST(SocketErrors, AreRaisedForAFailedCallUnlessPassedOver)
{
    const std::int32_t PassOver[] = {10035, 10061};
    errno = ECONNREFUSED;
    EXPECT_NO_THROW(ZnCheckSocketResult(0));
    EXPECT_NO_THROW(ZnCheckSocketResult(-2));
    EXPECT_NO_THROW(ZnCheckSocketResult(-1, PassOver));
    errno = ECONNRESET;
    try {
        ZnCheckSocketResult(-1, PassOver);
        ADD_FAILURE();
    } catch (const EZnSocketError& Failure) {
        EXPECT_EQ(Failure.GetSocketErrorCode(), 10054);
        EXPECT_EQ(Failure.Message(), "Connection reset by peer (10054).");
    }
}

} // namespace
