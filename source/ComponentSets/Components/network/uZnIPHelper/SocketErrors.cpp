#include "uZnIPHelper/SocketErrors.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/iphelper/Winsock.h"

namespace
{

struct TSocketErrorText
{
    std::int32_t Number;
    std::string_view Format; // the number takes the place of "%d"
};

// Applications show and compare these texts: they stay as they are.
constexpr TSocketErrorText cSocketErrorTexts[] = {
    {10004, "Interrupted system call (%d)."},
    {10009, "Bad file number (%d)."},
    {10013, "Access denied (%d)."},
    {10014, "Bad address (%d)."},
    {10022, "Invalid argument (%d)."},
    {10024, "Too many open files (%d)."},
    {10035, "Operation would block. (%d) "},
    {10036, "Operation now in progress (%d)."},
    {10037, "Operation already in progress (%d)."},
    {10038, "Socket operation on non-socket (%d)."},
    {10039, "Destination address required (%d)."},
    {10040, "Message too long (%d)."},
    {10041, "Protocol wrong type for socket (%d)."},
    {10042, "Bad protocol option (%d)."},
    {10043, "Protocol not supported (%d)."},
    {10044, "Socket type not supported (%d)."},
    {10045, "Operation not supported on socket (%d)."},
    {10046, "Protocol family not supported (%d)."},
    {10047, "Address family not supported by protocol family (%d)."},
    {10048, "Address already in use (%d)."},
    {10049, "Cannot assign requested address (%d)."},
    {10050, "Network is down (%d)."},
    {10051, "Network is unreachable (%d)."},
    {10052, "Net dropped connection or reset (%d)."},
    {10053, "Software caused connection abort (%d)."},
    {10054, "Connection reset by peer (%d)."},
    {10055, "No buffer space available (%d)."},
    {10056, "Socket is already connected (%d)."},
    {10057, "Socket is not connected (%d)."},
    {10058, "Cannot send or receive after socket is closed (%d)."},
    {10059, "Too many references, cannot splice (%d)."},
    {10060, "Connection timed out (%d)."},
    {10061, "Connection refused (%d)."},
    {10062, "Too many levels of symbolic links (%d)."},
    {10063, "File name too long (%d)."},
    {10064, "Host is down (%d)."},
    {10065, "No route to host (%d)."},
    {10066, "Directory not empt (%d)y"},
};

constexpr std::string_view cUnknownFormat = "Socket Error # %d";

} // namespace

EZnSocketError::EZnSocketError(std::int32_t ASocketErrorCode, const std::string& AMsg)
    : Exception(AMsg.empty() ? SocketErrorText(ASocketErrorCode)
                             : AMsg + "\r\n" + SocketErrorText(ASocketErrorCode)),
      FSocketErrorCode(ASocketErrorCode)
{
}

std::string EZnSocketError::SocketErrorText(std::int32_t ASocketErrorCode)
{
    const auto Found = std::find_if(
        std::begin(cSocketErrorTexts), std::end(cSocketErrorTexts),
        [ASocketErrorCode](const TSocketErrorText& AEntry) { return AEntry.Number == ASocketErrorCode; });
    std::string Text(Found != std::end(cSocketErrorTexts) ? Found->Format : cUnknownFormat);
    return Text.replace(Text.find("%d"), 2, std::to_string(ASocketErrorCode));
}

void ZnCheckSocketResult(std::int32_t AResult, std::span<const std::int32_t> APassOver)
{
    if (AResult != SOCKET_ERROR)
        return;
    const std::int32_t Error = WSAGetLastError();
    if (std::find(APassOver.begin(), APassOver.end(), Error) == APassOver.end())
        throw EZnSocketError(Error);
}
