#include "platform/iphelper/Netlink.h"

#include <algorithm>
#include <cerrno>

#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr std::size_t cMessageHeadSize = sizeof(nlmsghdr);
constexpr std::size_t cAttributeHeadSize = sizeof(nlattr);
constexpr int cMostAtOnce = 100; // so that a reader gets to see that it is to end

/// Lengths count the bytes used; the next one begins at a multiple of four.
std::size_t Padded(std::size_t ALength)
{
    return (ALength + 3) / 4 * 4;
}

void Skip(std::span<const std::byte>& AList, std::size_t ALength)
{
    AList = AList.subspan(std::min(Padded(ALength), AList.size()));
}

/// 0 for an acknowledgement.
int ErrnoOf(const Zn::TNetlinkMessage& AMessage)
{
    const auto Error = AMessage.Head<nlmsgerr>();
    return Error ? -Error->error : EPROTO;
}

} // namespace

std::string_view Zn::TNetlinkAttribute::Text() const
{
    const std::string_view All(reinterpret_cast<const char*>(Value.data()), Value.size());
    return All.substr(0, All.find('\0'));
}

std::optional<Zn::TNetlinkMessage> Zn::NextMessage(std::span<const std::byte>& AList)
{
    nlmsghdr Head;
    if (AList.size() < cMessageHeadSize)
        return std::nullopt;
    std::memcpy(&Head, AList.data(), cMessageHeadSize);
    if (Head.nlmsg_len < cMessageHeadSize || Head.nlmsg_len > AList.size())
        return std::nullopt;
    const TNetlinkMessage Result{Head.nlmsg_type, Head.nlmsg_flags,
                                 AList.subspan(cMessageHeadSize, Head.nlmsg_len - cMessageHeadSize)};
    Skip(AList, Head.nlmsg_len);
    return Result;
}

std::optional<Zn::TNetlinkAttribute> Zn::NextAttribute(std::span<const std::byte>& AList)
{
    nlattr Head;
    if (AList.size() < cAttributeHeadSize)
        return std::nullopt;
    std::memcpy(&Head, AList.data(), cAttributeHeadSize);
    if (Head.nla_len < cAttributeHeadSize || Head.nla_len > AList.size())
        return std::nullopt;
    const TNetlinkAttribute Result{static_cast<std::uint16_t>(Head.nla_type & NLA_TYPE_MASK),
                                   AList.subspan(cAttributeHeadSize, Head.nla_len - cAttributeHeadSize)};
    Skip(AList, Head.nla_len);
    return Result;
}

std::unique_ptr<Zn::TNetlinkSocket> Zn::TNetlinkSocket::Open(std::uint32_t AGroups, int& AErrno)
{
    const int Socket = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    AErrno = errno;
    if (Socket < 0)
        return nullptr;
    std::unique_ptr<TNetlinkSocket> Result(new TNetlinkSocket(Socket));
    sockaddr_nl Address{};
    Address.nl_family = AF_NETLINK;
    Address.nl_groups = AGroups;
    // Lets a request name the table that it wants; older kernels give all, and the reader sorts out.
    const int On = 1;
    setsockopt(Socket, SOL_NETLINK, NETLINK_GET_STRICT_CHK, &On, sizeof(On));
    if (bind(Socket, reinterpret_cast<const sockaddr*>(&Address), sizeof(Address)) == 0)
        return Result;
    AErrno = errno;
    return nullptr;
}

Zn::TNetlinkSocket::~TNetlinkSocket()
{
    close(FSocket);
}

int Zn::TNetlinkSocket::ReceiveOne(int AFlags)
{
    for (;;) {
        sockaddr_nl From{};
        socklen_t Length = sizeof(From);
        const ssize_t Size = recvfrom(FSocket, FBuffer.data(), FBuffer.size(), AFlags,
                                      reinterpret_cast<sockaddr*>(&From), &Length);
        if (Size < 0 && errno == EINTR)
            continue;
        if (Size < 0)
            return -errno;
        if (From.nl_pid == 0) // the kernel; other processes may send too
            return static_cast<int>(Size);
    }
}

int Zn::TNetlinkSocket::Dump(std::uint16_t AType, std::span<const std::byte> AHead, const TUse& AUse)
{
    nlmsghdr Request{};
    Request.nlmsg_len = static_cast<std::uint32_t>(cMessageHeadSize + AHead.size());
    Request.nlmsg_type = AType;
    Request.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    Request.nlmsg_seq = ++FSequence;
    std::vector<std::byte> Bytes(Request.nlmsg_len);
    std::memcpy(Bytes.data(), &Request, cMessageHeadSize);
    std::copy(AHead.begin(), AHead.end(), Bytes.begin() + cMessageHeadSize);
    if (send(FSocket, Bytes.data(), Bytes.size(), 0) < 0)
        return errno;

    bool Changed = false;
    for (;;) {
        const int Size = ReceiveOne(0); // the kernel answers while it is asked: no wait
        if (Size < 0)
            return -Size;
        std::span<const std::byte> List(FBuffer.data(), static_cast<std::size_t>(Size));
        while (const auto Message = NextMessage(List)) {
            Changed = Changed || (Message->Flags & NLM_F_DUMP_INTR) != 0;
            if (Message->Type == NLMSG_ERROR)
                return ErrnoOf(*Message);
            if (Message->Type == NLMSG_DONE)
                return Changed ? EINTR : 0;
            AUse(*Message);
        }
    }
}

int Zn::TNetlinkSocket::Receive(const TUse& AUse)
{
    for (int Count = 0; Count < cMostAtOnce; ++Count) {
        const int Size = ReceiveOne(MSG_DONTWAIT);
        if (Size < 0)
            return -Size;
        std::span<const std::byte> List(FBuffer.data(), static_cast<std::size_t>(Size));
        while (const auto Message = NextMessage(List))
            AUse(*Message);
    }
    return 0;
}
