#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include <arpa/inet.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/iphelper/Exports.h"
#include "platform/iphelper/Functions.h"
#include "platform/text/Unicode.h"

namespace
{

/// One entry of a result with its address beside it.
struct TNode
{
    ADDRINFOW Info{};
    union {
        sockaddr_in V4;
        sockaddr_in6 V6{};
    } Address;
};

void Freeaddrinfo(ADDRINFOW* AInfo)
{
    while (AInfo) {
        ADDRINFOW* const Next = AInfo->ai_next;
        delete reinterpret_cast<TNode*>(AInfo); // Info is the first member
        AInfo = Next;
    }
}

TNode* NewNode(int AFamily)
{
    auto* const Node = new TNode;
    Node->Info.ai_family = AFamily;
    Node->Info.ai_addr = reinterpret_cast<sockaddr*>(&Node->Address);
    Node->Info.ai_addrlen = AFamily == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
    return Node;
}

/// The entries of the system's own list that carry an address of the two families.
ADDRINFOW* Copied(const addrinfo* AList)
{
    std::unique_ptr<ADDRINFOW, TFreeaddrinfo> Result(nullptr, Freeaddrinfo);
    ADDRINFOW* Last = nullptr;
    for (; AList; AList = AList->ai_next) {
        if (AList->ai_family != AF_INET && AList->ai_family != AF_INET6)
            continue;
        TNode* const Node = NewNode(AList->ai_family);
        if (Last)
            Last->ai_next = &Node->Info;
        else
            Result.reset(&Node->Info);
        Last = &Node->Info;
        Last->ai_flags = AList->ai_flags;
        Last->ai_socktype = AList->ai_socktype;
        Last->ai_protocol = AList->ai_protocol;
        std::memcpy(Node->Info.ai_addr, AList->ai_addr, Last->ai_addrlen);
    }
    return Result.release();
}

int NumberFor(int AResolverError)
{
    switch (AResolverError) {
    case EAI_AGAIN:
        return WSATRY_AGAIN;
    case EAI_FAIL:
        return WSANO_RECOVERY;
    case EAI_MEMORY:
        return ERROR_NOT_ENOUGH_MEMORY;
    case EAI_FAMILY:
        return WSAEAFNOSUPPORT;
    case EAI_BADFLAGS:
        return WSAEINVAL;
    case EAI_SOCKTYPE:
        return WSAESOCKTNOSUPPORT;
    case EAI_SYSTEM:
        return static_cast<int>(SocketErrorFromErrno(errno));
    default:
        return WSAHOST_NOT_FOUND;
    }
}

int Resolve(const char16_t* AName, const char16_t* AService, const ADDRINFOW* AHints, ADDRINFOW** AResult)
{
    *AResult = nullptr;
    const ADDRINFOW Hints = AHints ? *AHints : ADDRINFOW{};
    try {
        const std::string Name = AName ? Zn::Utf8FromUtf16(AName) : std::string();
        const std::string Service = AService ? Zn::Utf8FromUtf16(AService) : std::string();
        addrinfo* List = nullptr;
        const int Error =
            getaddrinfo(AName ? Name.c_str() : nullptr, AService ? Service.c_str() : nullptr, &Hints, &List);
        if (Error != 0)
            return NumberFor(Error);
        const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> Guard(List, freeaddrinfo);
        *AResult = Copied(List);
        return *AResult ? static_cast<int>(NO_ERROR) : NumberFor(EAI_NONAME);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
}

/// Leaves its result in GetLastError too, where it is a failure.
int GetAddrInfoW(const char16_t* AName, const char16_t* AService, const ADDRINFOW* AHints,
                 ADDRINFOW** AResult)
{
    const int Error = Resolve(AName, AService, AHints, AResult);
    if (Error != 0)
        SetLastError(static_cast<std::uint32_t>(Error));
    return Error;
}

} // namespace

std::span<const TZnExport> Ws2_32Exports()
{
    static const TZnExport Exports[] = {
        {"GetAddrInfoW", reinterpret_cast<void*>(TGetAddrInfoW(GetAddrInfoW))},
        {"freeaddrinfo", reinterpret_cast<void*>(TFreeaddrinfo(Freeaddrinfo))},
        {"socket", reinterpret_cast<void*>(TSocket(socket))},
        {"bind", reinterpret_cast<void*>(TBind(bind))},
        {"setsockopt", reinterpret_cast<void*>(TSetSockOpt(setsockopt))},
        {"sendto", reinterpret_cast<void*>(TSendTo(sendto))},
        {"closesocket", reinterpret_cast<void*>(TCloseSocket(close))},
        {"gethostname", reinterpret_cast<void*>(TGetHostName(gethostname))},
        {"inet_addr", reinterpret_cast<void*>(TInetAddr(inet_addr))},
    };
    return Exports;
}
