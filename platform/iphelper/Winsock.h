#pragma once

#include <cstdint>

inline constexpr int SOCKET_ERROR = -1;

/// Starts the socket layer, once for each WSACleanup. There is nothing to start on Linux. 0, or 10092
/// for a version below 2.2 (0x0202).
int WSAStartup(std::uint16_t AVersion);
int WSACleanup();

/// The number (10004 and up) of the socket call that failed last on this thread. Asked for right
/// behind the call.
int WSAGetLastError();
