#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <typeinfo>

#include "platform/errors/Errors.h"
#include "platform/icmp/EchoHandle.h"
#include "platform/icmp/Exports.h"
#include "platform/icmp/Icmp.h"

namespace
{

/// LookupHandleAs for the one class that it can be: two addresses are compared instead of a walk through the
/// bases.
std::shared_ptr<Zn::TEchoHandle> LookupEcho(THandle AHandle)
{
    auto Object = LookupHandle(AHandle);
    const KernelObject* const Place = Object.get();
    if (Place && typeid(*Place) == typeid(Zn::TEchoHandle))
        return std::static_pointer_cast<Zn::TEchoHandle>(std::move(Object));
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

THandle OpenEcho(int AFamily)
{
    try {
        int Errno = 0;
        auto Object = Zn::TakeEchoHandle(AFamily, Errno);
        if (!Object) {
            SetLastError(FromErrno(Errno));
            return INVALID_HANDLE_VALUE;
        }
        const THandle Handle = RegisterHandle(std::move(Object));
        return Handle != 0 ? Handle : INVALID_HANDLE_VALUE;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_HANDLE_VALUE;
    }
}

THandle IcmpCreateFile()
{
    return OpenEcho(AF_INET);
}

THandle Icmp6CreateFile()
{
    return OpenEcho(AF_INET6);
}

bool IcmpCloseHandle(THandle AHandle)
{
    auto Object = LookupEcho(AHandle);
    if (!Object || !CloseHandle(AHandle))
        return false;
    Zn::GiveEchoHandle(std::move(Object));
    return true;
}

std::uint32_t Failed(std::uint32_t AError)
{
    SetLastError(AError);
    return 0;
}

void SetAddress(ICMP_ECHO_REPLY& AReply, const Zn::TEchoAddress& AFrom)
{
    AReply.Address = AFrom.V4.sin_addr;
}

void SetAddress(ICMPV6_ECHO_REPLY& AReply, const Zn::TEchoAddress& AFrom)
{
    AReply.Address = AFrom.V6;
    AReply.Address.sin6_port = 0;
}

void SetData(ICMP_ECHO_REPLY& AReply, void* AData, const Zn::TEchoOutcome& AOutcome)
{
    AReply.Data = AData;
    AReply.DataSize = static_cast<std::uint16_t>(AOutcome.Data.size());
    AReply.Options.Ttl = AOutcome.Ttl;
}

void SetData(ICMPV6_ECHO_REPLY&, void*, const Zn::TEchoOutcome&) {}

/// Puts the outcome into the caller's reply area.
template <typename TReply>
std::uint32_t Answer(const Zn::TEchoOutcome& AOutcome, void* AReply, std::uint32_t AReplySize)
{
    if (AOutcome.Error != NO_ERROR)
        return Failed(AOutcome.Error);
    TReply Reply;
    SetAddress(Reply, AOutcome.From);
    Reply.Status = AOutcome.Status;
    Reply.RoundTripTime = AOutcome.RoundTripTime;
    if (AOutcome.Data.size() > AReplySize - sizeof(TReply)) {
        Reply.Status = IP_BUF_TOO_SMALL;
    } else {
        void* const Data = static_cast<std::byte*>(AReply) + sizeof(TReply);
        std::copy(AOutcome.Data.begin(), AOutcome.Data.end(), static_cast<std::byte*>(Data));
        SetData(Reply, Data, AOutcome);
    }
    std::memcpy(AReply, &Reply, sizeof(Reply));
    return 1;
}

template <typename TReply>
std::uint32_t Exchange(THandle AHandle, const Zn::TEchoRequest& ARequest, void* AReply,
                       std::uint32_t AReplySize)
{
    const auto Handle = LookupEcho(AHandle);
    if (!Handle)
        return 0;
    if (Handle->Family() != ARequest.Destination.Any.sa_family)
        return Failed(ERROR_INVALID_PARAMETER);
    if (!AReply || AReplySize < sizeof(TReply))
        return Failed(ERROR_INSUFFICIENT_BUFFER);
    if (ARequest.Options.OptionsSize != 0)
        return Failed(ERROR_NOT_SUPPORTED);
    try {
        return Handle->With([&](Zn::TEchoSocket& ASocket) {
            return Answer<TReply>(ASocket.Exchange(ARequest), AReply, AReplySize);
        });
    } catch (const std::bad_alloc&) {
        return Failed(ERROR_NOT_ENOUGH_MEMORY);
    }
}

Zn::TEchoRequest RequestOf(const void* AData, std::uint16_t ADataSize, const IP_OPTION_INFORMATION* AOptions,
                           std::uint32_t ATimeout)
{
    Zn::TEchoRequest Request{};
    Request.Data = {static_cast<const std::byte*>(AData), AData ? ADataSize : std::size_t{0}};
    Request.WantsTtl = AOptions != nullptr;
    if (AOptions)
        Request.Options = *AOptions;
    Request.Timeout = ATimeout;
    return Request;
}

std::uint32_t IcmpSendEcho(THandle AHandle, in_addr ADestination, const void* AData, std::uint16_t ADataSize,
                           const IP_OPTION_INFORMATION* AOptions, void* AReply, std::uint32_t AReplySize,
                           std::uint32_t ATimeout)
{
    Zn::TEchoRequest Request = RequestOf(AData, ADataSize, AOptions, ATimeout);
    Request.Destination.V4 = {};
    Request.Destination.V4.sin_family = AF_INET;
    Request.Destination.V4.sin_addr = ADestination;
    return Exchange<ICMP_ECHO_REPLY>(AHandle, Request, AReply, AReplySize);
}

std::uint32_t Icmp6SendEcho2(THandle AHandle, THandle AEvent, void* AApcRoutine, void* /*AApcContext*/,
                             const sockaddr_in6* ASource, const sockaddr_in6* ADestination, const void* AData,
                             std::uint16_t ADataSize, const IP_OPTION_INFORMATION* AOptions, void* AReply,
                             std::uint32_t AReplySize, std::uint32_t ATimeout)
{
    if (AEvent != 0 || AApcRoutine || !ASource || !ADestination)
        return Failed(ERROR_INVALID_PARAMETER);
    // Every interface has such addresses; the system would take one for some kinds of sockets.
    if (IN6_IS_ADDR_LINKLOCAL(&ADestination->sin6_addr) && ADestination->sin6_scope_id == 0)
        return Failed(ERROR_INVALID_PARAMETER);
    Zn::TEchoRequest Request = RequestOf(AData, ADataSize, AOptions, ATimeout);
    Request.Destination.V6 = *ADestination;
    Request.Destination.V6.sin6_port = 0;
    Request.Source.V6 = *ASource;
    return Exchange<ICMPV6_ECHO_REPLY>(AHandle, Request, AReply, AReplySize);
}

} // namespace

std::span<const TZnExport> IcmpExports()
{
    static const TZnExport Exports[] = {
        {"IcmpCreateFile", reinterpret_cast<void*>(TIcmpCreateFile(IcmpCreateFile))},
        {"Icmp6CreateFile", reinterpret_cast<void*>(TIcmpCreateFile(Icmp6CreateFile))},
        {"IcmpSendEcho", reinterpret_cast<void*>(TIcmpSendEcho(IcmpSendEcho))},
        {"Icmp6SendEcho2", reinterpret_cast<void*>(TIcmp6SendEcho2(Icmp6SendEcho2))},
        {"IcmpCloseHandle", reinterpret_cast<void*>(TIcmpCloseHandle(IcmpCloseHandle))},
    };
    return Exports;
}
