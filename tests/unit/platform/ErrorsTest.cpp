#include "platform/errors/Errors.h"

#include <cerrno>
#include <thread>

#include <gtest/gtest.h>

TEST(Errors, EveryNumberThatErrnoMapsToHasAText)
{
    for (int Errno = 0; Errno < 200; ++Errno) {
        for (std::uint32_t Number : {FromErrno(Errno), SocketErrorFromErrno(Errno)})
            EXPECT_FALSE(SysErrorText(Number).starts_with("Error ")) << "errno " << Errno << " -> " << Number;
    }
    EXPECT_EQ(SysErrorText(4242424242U), "Error 4242424242");
}

TEST(Errors, ErrnoKeepsItsMeaning)
{
    struct Row
    {
        int Errno;
        std::uint32_t Plain, Socket;
    } Rows[] = {
        {0, 0, 0},
        {ENOENT, 2, 2},
        {EACCES, 5, 10013},
        {EBADF, 6, 10009},
        {EPIPE, 109, 10054},
        {ECONNRESET, 64, 10054},
        {EAGAIN, 997, 10035},
        {EADDRINUSE, 1227, 10048},
        {ENOTEMPTY, 145, 10066},
        {EINTR, 995, 10004},
        {9999, 31, 31},
    };
    for (const Row& Row : Rows) {
        EXPECT_EQ(FromErrno(Row.Errno), Row.Plain) << Row.Errno;
        EXPECT_EQ(SocketErrorFromErrno(Row.Errno), Row.Socket) << Row.Errno;
    }
}

TEST(Errors, LastErrorBelongsToTheThread)
{
    SetLastError(ERROR_PIPE_BUSY);
    std::thread([] {
        EXPECT_EQ(GetLastError(), NO_ERROR);
        SetLastError(ERROR_MORE_DATA);
    }).join();
    EXPECT_EQ(GetLastError(), ERROR_PIPE_BUSY);
}
