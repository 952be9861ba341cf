// The text of each number, sorted by number.

#include <algorithm>
#include <array>

#include "platform/errors/Errors.h"

namespace
{

struct ErrorText
{
    std::uint32_t Number;
    const char* Text;
};

constexpr ErrorText cTexts[] = {
    {NO_ERROR, "The operation completed successfully."},
    {ERROR_FILE_NOT_FOUND, "The system cannot find the file specified."},
    {ERROR_PATH_NOT_FOUND, "The system cannot find the path specified."},
    {ERROR_TOO_MANY_OPEN_FILES, "The system cannot open the file: too many files are open."},
    {ERROR_ACCESS_DENIED, "Access is denied."},
    {ERROR_INVALID_HANDLE, "The handle is invalid."},
    {ERROR_NOT_ENOUGH_MEMORY, "There is not enough memory to complete the operation."},
    {ERROR_INVALID_DATA, "The data is invalid."},
    {ERROR_NO_MORE_FILES, "There are no more files."},
    {ERROR_WRITE_PROTECT, "The medium is write protected."},
    {ERROR_GEN_FAILURE, "A device or a service of the system does not work."},
    {ERROR_SHARING_VIOLATION, "The file is in use by another process."},
    {ERROR_HANDLE_EOF, "The end of the data was reached."},
    {ERROR_NOT_SUPPORTED, "The request is not supported."},
    {ERROR_BAD_NETPATH, "The network path was not found."},
    {ERROR_UNEXP_NET_ERR, "An unexpected network error occurred."},
    {ERROR_NETNAME_DELETED, "The network name is no longer available."},
    {ERROR_FILE_EXISTS, "The file exists."},
    {ERROR_INVALID_PASSWORD, "The network password is not correct."},
    {ERROR_INVALID_PARAMETER, "A parameter is incorrect."},
    {ERROR_BROKEN_PIPE, "The pipe has been ended."},
    {ERROR_BUFFER_OVERFLOW, "The file name or the data is too long."},
    {ERROR_DISK_FULL, "There is not enough space on the disk."},
    {ERROR_CALL_NOT_IMPLEMENTED, "The function is not offered by this system."},
    {ERROR_SEM_TIMEOUT, "The time for the operation has expired."},
    {ERROR_INSUFFICIENT_BUFFER, "The data area passed to a system call is too small."},
    {ERROR_INVALID_NAME, "The name is not well formed."},
    {ERROR_MOD_NOT_FOUND, "The library could not be found."},
    {ERROR_PROC_NOT_FOUND, "The function could not be found in the library."},
    {ERROR_DIR_NOT_EMPTY, "The folder is not empty."},
    {ERROR_BUSY, "The resource is in use."},
    {ERROR_ALREADY_EXISTS, "The object exists already."},
    {ERROR_FILENAME_EXCED_RANGE, "The file name is too long."},
    {ERROR_FILE_TOO_LARGE, "The file is too large."},
    {ERROR_BAD_PIPE, "The state of the pipe is invalid."},
    {ERROR_PIPE_BUSY, "All instances of the pipe are busy."},
    {ERROR_NO_DATA, "The pipe is being closed."},
    {ERROR_PIPE_NOT_CONNECTED, "No process is on the other end of the pipe."},
    {ERROR_MORE_DATA, "More data is available."},
    {WAIT_TIMEOUT, "The wait timed out."},
    {ERROR_NO_MORE_ITEMS, "No more data is available."},
    {ERROR_DIRECTORY, "The name of the folder is invalid."},
    {ERROR_PIPE_CONNECTED, "There is a process on the other end of the pipe."},
    {ERROR_OPERATION_ABORTED, "The operation was aborted, by the end of a thread or by the application."},
    {ERROR_IO_INCOMPLETE, "The operation has not finished yet."},
    {ERROR_IO_PENDING, "The operation is in progress."},
    {ERROR_IO_DEVICE, "The request could not be performed because of a device error."},
    {ERROR_NOT_FOUND, "The element was not found."},
    {ERROR_CANCELLED, "The operation was canceled by the user."},
    {ERROR_CONNECTION_REFUSED, "The remote computer refused the connection."},
    {ERROR_ADDRESS_ALREADY_ASSOCIATED, "The network address is in use already."},
    {ERROR_CONNECTION_INVALID, "The operation was attempted on a network connection that does not exist."},
    {ERROR_NETWORK_UNREACHABLE, "The network location cannot be reached."},
    {ERROR_HOST_UNREACHABLE, "The host cannot be reached."},
    {ERROR_CONNECTION_ABORTED, "The connection was aborted by the local system."},
    {ERROR_RETRY, "The operation could not be completed and should be tried again."},
    {ERROR_NO_SUCH_LOGON_SESSION, "The logon session or the certificate's key does not exist."},
    {ERROR_PRIVILEGE_NOT_HELD, "A right that the operation needs is not held by the process."},
    {ERROR_LOGON_FAILURE, "The user name or password is incorrect."},
    {ERROR_INVALID_WINDOW_HANDLE, "The window handle is invalid."},
    {ERROR_NO_SYSTEM_RESOURCES, "The system's resources are not sufficient to complete the request."},
    {ERROR_TIMEOUT, "The operation returned because its time expired."},
    {ERROR_NOT_ENOUGH_QUOTA, "A limit is reached: there is not enough room to take the request."},

    {WSAEINTR, "A blocking socket call was interrupted."},
    {WSAEBADF, "The descriptor is not open."},
    {WSAEACCES, "The socket may not be used in this way: access is denied."},
    {WSAEFAULT, "An address passed to a socket call is invalid."},
    {WSAEINVAL, "An argument of the socket call is invalid."},
    {WSAEMFILE, "Too many sockets are open."},
    {WSAEWOULDBLOCK, "The socket operation could not be completed at once."},
    {WSAEINPROGRESS, "A blocking operation is in progress."},
    {WSAEALREADY, "The operation is in progress on this socket already."},
    {WSAENOTSOCK, "The descriptor is not a socket."},
    {WSAEDESTADDRREQ, "A destination address is required."},
    {WSAEMSGSIZE, "The message is longer than the transport or the buffer allows."},
    {WSAEPROTOTYPE, "The protocol does not fit the type of the socket."},
    {WSAENOPROTOOPT, "The socket option is unknown or not supported."},
    {WSAEPROTONOSUPPORT, "The protocol is not supported."},
    {WSAESOCKTNOSUPPORT, "The type of socket is not supported."},
    {WSAEOPNOTSUPP, "The operation is not supported by this socket."},
    {WSAEPFNOSUPPORT, "The protocol family is not supported."},
    {WSAEAFNOSUPPORT, "The address family is not supported by the protocol."},
    {WSAEADDRINUSE, "The address is in use already."},
    {WSAEADDRNOTAVAIL, "The address is not one of this computer."},
    {WSAENETDOWN, "The network is down."},
    {WSAENETUNREACH, "The network cannot be reached."},
    {WSAENETRESET, "The connection was broken by a reset of the network."},
    {WSAECONNABORTED, "The connection was aborted by the local system."},
    {WSAECONNRESET, "The connection was closed by the remote host."},
    {WSAENOBUFS, "The system lacks buffer space for the socket operation."},
    {WSAEISCONN, "The socket is connected already."},
    {WSAENOTCONN, "The socket is not connected."},
    {WSAESHUTDOWN, "The socket has been shut down in this direction."},
    {WSAETOOMANYREFS, "There are too many references to a kernel object."},
    {WSAETIMEDOUT, "The connected host did not answer in time."},
    {WSAECONNREFUSED, "The target computer refused the connection."},
    {WSAELOOP, "The name cannot be translated: too many links."},
    {WSAENAMETOOLONG, "The name is too long."},
    {WSAEHOSTDOWN, "The destination host is down."},
    {WSAEHOSTUNREACH, "The host cannot be reached."},
    {WSAENOTEMPTY, "The folder is not empty."},
};

static_assert(std::ranges::is_sorted(cTexts, std::ranges::less_equal{}, &ErrorText::Number));

} // namespace

std::string SysErrorText(std::uint32_t AError)
{
    const auto* Found = std::ranges::lower_bound(cTexts, AError, {}, &ErrorText::Number);
    if (Found != std::end(cTexts) && Found->Number == AError)
        return Found->Text;
    return "Error " + std::to_string(AError);
}
