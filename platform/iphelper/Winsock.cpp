#include "platform/iphelper/Winsock.h"

#include <cerrno>

#include "platform/errors/Errors.h"

int WSAStartup(std::uint16_t AVersion)
{
    const int Major = AVersion & 0xFF;
    const int Minor = AVersion >> 8;
    return Major > 2 || (Major == 2 && Minor >= 2) ? 0 : static_cast<int>(WSAVERNOTSUPPORTED);
}

int WSACleanup()
{
    return 0;
}

int WSAGetLastError()
{
    return static_cast<int>(SocketErrorFromErrno(errno));
}
