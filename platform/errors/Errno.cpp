// errno values as the platform layer's numbers: one table for files and processes, one for sockets.

#include <cerrno>

#include "platform/errors/Errors.h"

std::uint32_t FromErrno(int AErrno)
{
    switch (AErrno) {
    case 0:
        return NO_ERROR;
    case ENOENT:
        return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
        return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
        return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
        return ERROR_ACCESS_DENIED;
    case EBADF:
        return ERROR_INVALID_HANDLE;
    case ENOMEM:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EROFS:
        return ERROR_WRITE_PROTECT;
    case ETXTBSY:
        return ERROR_SHARING_VIOLATION;
    case EOPNOTSUPP:
    case EXDEV:
    case EPROTONOSUPPORT:
    case EAFNOSUPPORT:
        return ERROR_NOT_SUPPORTED;
    case EEXIST:
        return ERROR_FILE_EXISTS;
    case EINVAL:
    case EFAULT:
    case E2BIG:
    case EISDIR:
    case ESPIPE:
    case EDOM:
    case ERANGE:
        return ERROR_INVALID_PARAMETER;
    case EPIPE:
        return ERROR_BROKEN_PIPE;
    case EOVERFLOW:
        return ERROR_BUFFER_OVERFLOW;
    case ENOSPC:
    case EDQUOT:
        return ERROR_DISK_FULL;
    case ENOSYS:
        return ERROR_CALL_NOT_IMPLEMENTED;
    case ENOTEMPTY:
        return ERROR_DIR_NOT_EMPTY;
    case EBUSY:
        return ERROR_BUSY;
    case ENAMETOOLONG:
    case ELOOP:
        return ERROR_FILENAME_EXCED_RANGE;
    case EFBIG:
        return ERROR_FILE_TOO_LARGE;
    case EAGAIN:
    case EINPROGRESS:
    case EALREADY:
        return ERROR_IO_PENDING;
    case EINTR:
    case ECANCELED:
        return ERROR_OPERATION_ABORTED;
    case EIO:
        return ERROR_IO_DEVICE;
    case ETIMEDOUT:
        return ERROR_SEM_TIMEOUT;
    case ECONNREFUSED:
        return ERROR_CONNECTION_REFUSED;
    case EADDRINUSE:
        return ERROR_ADDRESS_ALREADY_ASSOCIATED;
    case ENOTCONN:
    case ESHUTDOWN:
        return ERROR_CONNECTION_INVALID;
    case ECONNRESET:
        return ERROR_NETNAME_DELETED;
    case ENETDOWN:
    case ENETUNREACH:
        return ERROR_NETWORK_UNREACHABLE;
    case EHOSTDOWN:
    case EHOSTUNREACH:
        return ERROR_HOST_UNREACHABLE;
    case ECONNABORTED:
        return ERROR_CONNECTION_ABORTED;
    case ENOBUFS:
    case EUSERS:
        return ERROR_NO_SYSTEM_RESOURCES;
    default:
        return ERROR_GEN_FAILURE;
    }
}

std::uint32_t SocketErrorFromErrno(int AErrno)
{
    switch (AErrno) {
    case EINTR:
        return WSAEINTR;
    case EBADF:
        return WSAEBADF;
    case EACCES:
    case EPERM: // a firewall's refusal of a send
        return WSAEACCES;
    case EFAULT:
        return WSAEFAULT;
    case EINVAL:
        return WSAEINVAL;
    case EMFILE:
    case ENFILE:
        return WSAEMFILE;
    case EAGAIN:
        return WSAEWOULDBLOCK;
    case EINPROGRESS:
        return WSAEINPROGRESS;
    case EALREADY:
        return WSAEALREADY;
    case ENOTSOCK:
        return WSAENOTSOCK;
    case EDESTADDRREQ:
        return WSAEDESTADDRREQ;
    case EMSGSIZE:
        return WSAEMSGSIZE;
    case EPROTOTYPE:
        return WSAEPROTOTYPE;
    case ENOPROTOOPT:
        return WSAENOPROTOOPT;
    case EPROTONOSUPPORT:
        return WSAEPROTONOSUPPORT;
    case ESOCKTNOSUPPORT:
        return WSAESOCKTNOSUPPORT;
    case EOPNOTSUPP:
        return WSAEOPNOTSUPP;
    case EPFNOSUPPORT:
        return WSAEPFNOSUPPORT;
    case EAFNOSUPPORT:
        return WSAEAFNOSUPPORT;
    case EADDRINUSE:
        return WSAEADDRINUSE;
    case EADDRNOTAVAIL:
        return WSAEADDRNOTAVAIL;
    case ENETDOWN:
        return WSAENETDOWN;
    case ENETUNREACH:
        return WSAENETUNREACH;
    case ENETRESET:
        return WSAENETRESET;
    case ECONNABORTED:
        return WSAECONNABORTED;
    case ECONNRESET:
    case EPIPE: // a send after the peer's reset
        return WSAECONNRESET;
    case ENOBUFS:
    case ENOMEM:
        return WSAENOBUFS;
    case EISCONN:
        return WSAEISCONN;
    case ENOTCONN:
        return WSAENOTCONN;
    case ESHUTDOWN:
        return WSAESHUTDOWN;
    case ETOOMANYREFS:
        return WSAETOOMANYREFS;
    case ETIMEDOUT:
        return WSAETIMEDOUT;
    case ECONNREFUSED:
        return WSAECONNREFUSED;
    case ELOOP:
        return WSAELOOP;
    case ENAMETOOLONG:
        return WSAENAMETOOLONG;
    case EHOSTDOWN:
        return WSAEHOSTDOWN;
    case EHOSTUNREACH:
        return WSAEHOSTUNREACH;
    case ENOTEMPTY:
        return WSAENOTEMPTY;
    default:
        return FromErrno(AErrno);
    }
}
