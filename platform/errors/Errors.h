#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The error numbers of the platform layer: the library's own contract, the same on every system.
/// Numbers are added, never changed. Each has a text in ErrorTexts.cpp; docs/errors.md tells when
/// those come that a user of the library meets.
enum : std::uint32_t {
    NO_ERROR = 0,
    ERROR_FILE_NOT_FOUND = 2,
    ERROR_PATH_NOT_FOUND = 3,
    ERROR_TOO_MANY_OPEN_FILES = 4,
    ERROR_ACCESS_DENIED = 5,
    ERROR_INVALID_HANDLE = 6,
    ERROR_NOT_ENOUGH_MEMORY = 8,
    ERROR_INVALID_DATA = 13,
    ERROR_NO_MORE_FILES = 18,
    ERROR_WRITE_PROTECT = 19,
    ERROR_GEN_FAILURE = 31,
    ERROR_SHARING_VIOLATION = 32,
    ERROR_HANDLE_EOF = 38,
    ERROR_NOT_SUPPORTED = 50,
    ERROR_BAD_NETPATH = 53,
    ERROR_UNEXP_NET_ERR = 59,
    ERROR_NETNAME_DELETED = 64,
    ERROR_FILE_EXISTS = 80,
    ERROR_INVALID_PASSWORD = 86,
    ERROR_INVALID_PARAMETER = 87,
    ERROR_BROKEN_PIPE = 109,
    ERROR_BUFFER_OVERFLOW = 111,
    ERROR_DISK_FULL = 112,
    ERROR_CALL_NOT_IMPLEMENTED = 120,
    ERROR_SEM_TIMEOUT = 121,
    ERROR_INSUFFICIENT_BUFFER = 122,
    ERROR_INVALID_NAME = 123,
    ERROR_MOD_NOT_FOUND = 126,
    ERROR_PROC_NOT_FOUND = 127,
    ERROR_DIR_NOT_EMPTY = 145,
    ERROR_BUSY = 170,
    ERROR_ALREADY_EXISTS = 183,
    ERROR_FILENAME_EXCED_RANGE = 206,
    ERROR_FILE_TOO_LARGE = 223,
    ERROR_BAD_PIPE = 230,
    ERROR_PIPE_BUSY = 231,
    ERROR_NO_DATA = 232,
    ERROR_PIPE_NOT_CONNECTED = 233,
    ERROR_MORE_DATA = 234,
    WAIT_TIMEOUT = 258,
    ERROR_NO_MORE_ITEMS = 259,
    ERROR_DIRECTORY = 267,
    ERROR_PIPE_CONNECTED = 535,
    ERROR_OPERATION_ABORTED = 995,
    ERROR_IO_INCOMPLETE = 996,
    ERROR_IO_PENDING = 997,
    ERROR_IO_DEVICE = 1117,
    ERROR_NOT_FOUND = 1168,
    ERROR_CANCELLED = 1223,
    ERROR_CONNECTION_REFUSED = 1225,
    ERROR_ADDRESS_ALREADY_ASSOCIATED = 1227,
    ERROR_CONNECTION_INVALID = 1229,
    ERROR_NETWORK_UNREACHABLE = 1231,
    ERROR_HOST_UNREACHABLE = 1232,
    ERROR_CONNECTION_ABORTED = 1236,
    ERROR_RETRY = 1237,
    ERROR_NO_SUCH_LOGON_SESSION = 1312,
    ERROR_PRIVILEGE_NOT_HELD = 1314,
    ERROR_LOGON_FAILURE = 1326,
    ERROR_INVALID_WINDOW_HANDLE = 1400,
    ERROR_NO_SYSTEM_RESOURCES = 1450,
    ERROR_TIMEOUT = 1460,
    ERROR_NOT_ENOUGH_QUOTA = 1816,

    WSAEINTR = 10004,
    WSAEBADF = 10009,
    WSAEACCES = 10013,
    WSAEFAULT = 10014,
    WSAEINVAL = 10022,
    WSAEMFILE = 10024,
    WSAEWOULDBLOCK = 10035,
    WSAEINPROGRESS = 10036,
    WSAEALREADY = 10037,
    WSAENOTSOCK = 10038,
    WSAEDESTADDRREQ = 10039,
    WSAEMSGSIZE = 10040,
    WSAEPROTOTYPE = 10041,
    WSAENOPROTOOPT = 10042,
    WSAEPROTONOSUPPORT = 10043,
    WSAESOCKTNOSUPPORT = 10044,
    WSAEOPNOTSUPP = 10045,
    WSAEPFNOSUPPORT = 10046,
    WSAEAFNOSUPPORT = 10047,
    WSAEADDRINUSE = 10048,
    WSAEADDRNOTAVAIL = 10049,
    WSAENETDOWN = 10050,
    WSAENETUNREACH = 10051,
    WSAENETRESET = 10052,
    WSAECONNABORTED = 10053,
    WSAECONNRESET = 10054,
    WSAENOBUFS = 10055,
    WSAEISCONN = 10056,
    WSAENOTCONN = 10057,
    WSAESHUTDOWN = 10058,
    WSAETOOMANYREFS = 10059,
    WSAETIMEDOUT = 10060,
    WSAECONNREFUSED = 10061,
    WSAELOOP = 10062,
    WSAENAMETOOLONG = 10063,
    WSAEHOSTDOWN = 10064,
    WSAEHOSTUNREACH = 10065,
    WSAENOTEMPTY = 10066,
};

/// The text of a number, without a line break at the end; "Error %d" with the number when it has
/// none. Any thread.
std::string SysErrorText(std::uint32_t AError);

/// The number for an errno value of a file, memory or process call. An errno without a number of
/// its own gives ERROR_GEN_FAILURE. 0 gives 0.
std::uint32_t FromErrno(int AErrno);

/// The number (10004 ... 10066) for an errno value of a socket call; those that no socket call
/// has give what FromErrno gives.
std::uint32_t SocketErrorFromErrno(int AErrno);

/// The calling thread's last failure, left by platform functions whose result can't carry it.
/// A success leaves it alone.
std::uint32_t GetLastError();
void SetLastError(std::uint32_t AError);
