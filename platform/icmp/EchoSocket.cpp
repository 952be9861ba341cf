#include "platform/icmp/EchoSocket.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <linux/errqueue.h>
#include <linux/filter.h>
#include <linux/icmp.h>
#include <netinet/icmp6.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/errors/Errors.h"
#include "platform/icmp/EchoMessage.h"
#include "platform/icmp/Statuses.h"
#include "platform/sync/Deadline.h"

namespace
{

constexpr std::size_t cLongestIPv4Header = 60;
constexpr int cMostStaleErrors = 1000; // more than the socket's buffer holds

/// Room for the ancillary data of a request or an answer.
union TControl {
    char Bytes[512];
    cmsghdr Alignment;
};

template <typename T>
void AddControl(msghdr& AMessage, int ALevel, int AType, const T& AValue)
{
    auto* const Head =
        reinterpret_cast<cmsghdr*>(static_cast<char*>(AMessage.msg_control) + AMessage.msg_controllen);
    Head->cmsg_level = ALevel;
    Head->cmsg_type = AType;
    Head->cmsg_len = CMSG_LEN(sizeof(T));
    std::memcpy(CMSG_DATA(Head), &AValue, sizeof(T));
    AMessage.msg_controllen += CMSG_SPACE(sizeof(T));
}

template <typename T>
bool ReadControl(msghdr& AMessage, int ALevel, int AType, T& AValue)
{
    for (cmsghdr* Head = CMSG_FIRSTHDR(&AMessage); Head; Head = CMSG_NXTHDR(&AMessage, Head)) {
        if (Head->cmsg_level == ALevel && Head->cmsg_type == AType && Head->cmsg_len >= CMSG_LEN(sizeof(T))) {
            std::memcpy(&AValue, CMSG_DATA(Head), sizeof(T));
            return true;
        }
    }
    return false;
}

/// The report of an error with the address of who sent it, as the system lays them out.
template <typename TAddress>
struct TErrorReport
{
    sock_extended_err Error;
    TAddress Offender;
};

bool HasOptions(const Zn::TEchoRequest& ARequest)
{
    return ARequest.Options.Ttl != 0 || ARequest.Options.Tos != 0 ||
           (ARequest.Destination.Any.sa_family == AF_INET6 &&
            !IN6_IS_ADDR_UNSPECIFIED(&ARequest.Source.V6.sin6_addr));
}

void AddOptions(msghdr& AMessage, const Zn::TEchoRequest& ARequest)
{
    const bool IsV6 = ARequest.Destination.Any.sa_family == AF_INET6;
    if (ARequest.Options.Ttl != 0)
        AddControl(AMessage, IsV6 ? IPPROTO_IPV6 : IPPROTO_IP, IsV6 ? IPV6_HOPLIMIT : IP_TTL,
                   int{ARequest.Options.Ttl});
    if (ARequest.Options.Tos != 0)
        AddControl(AMessage, IsV6 ? IPPROTO_IPV6 : IPPROTO_IP, IsV6 ? IPV6_TCLASS : IP_TOS,
                   int{ARequest.Options.Tos});
    if (IsV6 && !IN6_IS_ADDR_UNSPECIFIED(&ARequest.Source.V6.sin6_addr)) {
        in6_pktinfo Source{};
        Source.ipi6_addr = ARequest.Source.V6.sin6_addr;
        Source.ipi6_ifindex = ARequest.Source.V6.sin6_scope_id;
        AddControl(AMessage, IPPROTO_IPV6, IPV6_PKTINFO, Source);
    }
}

} // namespace

std::unique_ptr<Zn::TEchoSocket> Zn::TEchoSocket::Open(int AFamily, int& AErrno)
{
    const int Protocol = AFamily == AF_INET6 ? int{IPPROTO_ICMPV6} : int{IPPROTO_ICMP};
    bool IsRaw = false;
    int Socket = socket(AFamily, SOCK_DGRAM | SOCK_CLOEXEC, Protocol);
    if (Socket < 0 && (errno == EACCES || errno == EPROTONOSUPPORT)) {
        IsRaw = true;
        Socket = socket(AFamily, SOCK_RAW | SOCK_CLOEXEC, Protocol);
    }
    AErrno = errno;
    if (Socket < 0)
        return nullptr;
    std::unique_ptr<TEchoSocket> Result(new TEchoSocket(AFamily, Socket, IsRaw));
    if (Result->Prepare())
        return Result;
    AErrno = errno;
    return nullptr;
}

Zn::TEchoSocket::TEchoSocket(int AFamily, int ASocket, bool AIsRaw)
    : FFamily(AFamily), FSocket(ASocket), FIsRaw(AIsRaw)
{
    // Of no use for guessing: they only keep the replies of different sockets apart.
    std::uint16_t Numbers[2] = {static_cast<std::uint16_t>(getpid()), 0};
    [[maybe_unused]] const ssize_t Given = getrandom(Numbers, sizeof(Numbers), GRND_NONBLOCK);
    FId = Numbers[0];
    FSequence = Numbers[1];
}

Zn::TEchoSocket::~TEchoSocket()
{
    close(FSocket);
}

bool Zn::TEchoSocket::Prepare()
{
    const int On = 1;
    const int Level = IsV6() ? IPPROTO_IPV6 : IPPROTO_IP;
    return setsockopt(FSocket, Level, IsV6() ? IPV6_RECVERR : IP_RECVERR, &On, sizeof(On)) == 0 &&
           SetFragmentation(true) && (!FIsRaw || KeepForeignRepliesOut());
}

/// A raw socket is given a copy of every ICMP message that reaches the machine. Filters let echo replies in,
/// and of those the ones with this socket's identifier; error messages come by the error queue, which has no
/// filter.
bool Zn::TEchoSocket::KeepForeignRepliesOut()
{
    icmp_filter Replies{~(1U << ICMP_ECHOREPLY)};
    icmp6_filter Replies6;
    ICMP6_FILTER_SETBLOCKALL(&Replies6);
    ICMP6_FILTER_SETPASS(ICMP6_ECHO_REPLY, &Replies6);
    const int Filtered = IsV6()
                             ? setsockopt(FSocket, IPPROTO_ICMPV6, ICMP6_FILTER, &Replies6, sizeof(Replies6))
                             : setsockopt(FSocket, SOL_RAW, ICMP_FILTER, &Replies, sizeof(Replies));
    if (Filtered != 0)
        return false;

    constexpr std::uint32_t cIdAt = 4;
    sock_filter Code[] = {
        // X: where the message begins, behind the IPv4 header. A raw IPv6 socket sees no header.
        IsV6() ? sock_filter BPF_STMT(BPF_LDX | BPF_IMM, 0)
               : sock_filter BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0),
        BPF_STMT(BPF_LD | BPF_H | BPF_IND, cIdAt),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, FId, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFF),
        BPF_STMT(BPF_RET | BPF_K, 0),
    };
    const sock_fprog Program{static_cast<unsigned short>(std::size(Code)), Code};
    return setsockopt(FSocket, SOL_SOCKET, SO_ATTACH_FILTER, &Program, sizeof(Program)) == 0;
}

/// Where packets may be cut: by routers, of IPv4; by this system alone, of IPv6, to what routers have told
/// it.
bool Zn::TEchoSocket::SetFragmentation(bool AIsAllowed)
{
    if (FIsCut == AIsAllowed)
        return true;
    const int Discover = IsV6() ? (AIsAllowed ? IPV6_PMTUDISC_WANT : IPV6_PMTUDISC_DO)
                                : (AIsAllowed ? IP_PMTUDISC_DONT : IP_PMTUDISC_DO);
    const bool IsSet =
        setsockopt(FSocket, IsV6() ? IPPROTO_IPV6 : IPPROTO_IP, IsV6() ? IPV6_MTU_DISCOVER : IP_MTU_DISCOVER,
                   &Discover, sizeof(Discover)) == 0;
    if (IsSet)
        FIsCut = AIsAllowed;
    return IsSet;
}

void Zn::TEchoSocket::AskForTtl()
{
    const int On = 1;
    FTellsTtl = !IsV6() && setsockopt(FSocket, IPPROTO_IP, IP_RECVTTL, &On, sizeof(On)) == 0;
}

Zn::TEchoOutcome Zn::TEchoSocket::Exchange(const TEchoRequest& ARequest)
{
    ++FSequence;
    FBuffer.resize(std::max(FBuffer.size(), cLongestIPv4Header + cEchoHeadSize + ARequest.Data.size()));
    SetFragmentation((ARequest.Options.Flags & IP_FLAG_DF) == 0);
    if (ARequest.WantsTtl && !FTellsTtl)
        AskForTtl();

    const auto Start = std::chrono::steady_clock::now();
    TEchoOutcome Outcome;
    if (Send(ARequest)) {
        Outcome = Receive(ARequest);
    } else {
        const TSendFailure Failure = SendFailureOf(errno);
        Outcome.Status = Failure.Status;
        Outcome.Error = Failure.Error;
        Outcome.From.Any.sa_family = static_cast<sa_family_t>(FFamily);
    }
    const auto Elapsed = std::chrono::steady_clock::now() - Start;
    Outcome.RoundTripTime =
        static_cast<std::uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(Elapsed).count());
    return Outcome;
}

/// Puts the message of a request into the buffer.
std::span<const std::byte> Zn::TEchoSocket::Written(const TEchoRequest& ARequest)
{
    const TEchoHead Echo{static_cast<std::uint8_t>(IsV6() ? ICMP6_ECHO_REQUEST : ICMP_ECHO), 0, FId,
                         FSequence};
    const auto Head = FIsRaw && !IsV6() ? WriteEchoHead(Echo, ARequest.Data) : WriteEchoHead(Echo);
    const auto End = std::copy(Head.begin(), Head.end(), FBuffer.begin());
    std::copy(ARequest.Data.begin(), ARequest.Data.end(), End);
    return {FBuffer.data(), Head.size() + ARequest.Data.size()};
}

bool Zn::TEchoSocket::Send(const TEchoRequest& ARequest)
{
    const std::span<const std::byte> Message = Written(ARequest);
    const bool IsPlain = !HasOptions(ARequest);
    for (int Attempt = 0; Attempt < cMostStaleErrors; ++Attempt) {
        if (IsPlain ? SendPlain(ARequest, Message) : SendWithOptions(ARequest, Message))
            return true;
        // The failure may be an older message's, whose report waits in the error queue.
        const int Failure = errno;
        bool ThereWasOne = false;
        NextError(ThereWasOne);
        errno = Failure;
        if (!ThereWasOne && Failure != EINTR)
            return false;
    }
    return false;
}

bool Zn::TEchoSocket::SendPlain(const TEchoRequest& ARequest, std::span<const std::byte> AMessage)
{
    return sendto(FSocket, AMessage.data(), AMessage.size(), 0, &ARequest.Destination.Any, AddressSize()) >=
           0;
}

bool Zn::TEchoSocket::SendWithOptions(const TEchoRequest& ARequest, std::span<const std::byte> AMessage)
{
    iovec Part{const_cast<std::byte*>(AMessage.data()), AMessage.size()};
    TEchoAddress Destination = ARequest.Destination;
    TControl Control{};
    msghdr Message{};
    Message.msg_name = &Destination;
    Message.msg_namelen = AddressSize();
    Message.msg_iov = &Part;
    Message.msg_iovlen = 1;
    Message.msg_control = Control.Bytes;
    AddOptions(Message, ARequest);
    return sendmsg(FSocket, &Message, 0) >= 0;
}

Zn::TEchoOutcome Zn::TEchoSocket::Receive(const TEchoRequest& ARequest)
{
    TEchoOutcome Outcome;
    if (ReceiveReply(ARequest, Outcome)) // over loopback it is there at once
        return Outcome;
    pollfd Wait{FSocket, POLLIN, 0};
    const Deadline End(ARequest.Timeout);
    for (;;) {
        const bool IsEmpty = errno == EAGAIN || errno == EINTR;
        bool MayHaveMore = !IsEmpty || (Wait.revents & POLLERR) != 0;
        while (MayHaveMore) {
            if (const auto Reported = NextError(MayHaveMore))
                return *Reported;
        }
        const int Ready = poll(&Wait, 1, End.PollTimeout());
        if (Ready == 0 || (Ready < 0 && End.HasPassed())) {
            Outcome.Error = IP_REQ_TIMED_OUT;
            return Outcome;
        }
        if (ReceiveReply(ARequest, Outcome))
            return Outcome;
    }
}

/// True for the answer to the last request. Passes over answers to earlier ones. False with errno when there
/// is none yet, or an error to be read.
bool Zn::TEchoSocket::ReceiveReply(const TEchoRequest& ARequest, TEchoOutcome& AOutcome)
{
    for (;;) {
        const ssize_t Size = ARequest.WantsTtl ? ReceiveWithTtl(AOutcome) : ReceivePlain(AOutcome);
        if (Size < 0)
            return false;
        std::span<const std::byte> Reply(FBuffer.data(), static_cast<std::size_t>(Size));
        if (FIsRaw && !IsV6())
            Reply = BehindIPv4Header(Reply);
        const auto Head = ReadEchoHead(Reply);
        if (!Head || Head->Type != (IsV6() ? ICMP6_ECHO_REPLY : ICMP_ECHOREPLY) ||
            !IsOurs(Head->Id, Head->Sequence))
            continue;
        AOutcome.Data = Reply.subspan(cEchoHeadSize);
        return true;
    }
}

ssize_t Zn::TEchoSocket::ReceivePlain(TEchoOutcome& AOutcome)
{
    socklen_t Length = sizeof(AOutcome.From);
    return recvfrom(FSocket, FBuffer.data(), FBuffer.size(), MSG_DONTWAIT, &AOutcome.From.Any, &Length);
}

ssize_t Zn::TEchoSocket::ReceiveWithTtl(TEchoOutcome& AOutcome)
{
    iovec Part{FBuffer.data(), FBuffer.size()};
    TControl Control;
    msghdr Message{};
    Message.msg_name = &AOutcome.From;
    Message.msg_namelen = sizeof(AOutcome.From);
    Message.msg_iov = &Part;
    Message.msg_iovlen = 1;
    Message.msg_control = &Control;
    Message.msg_controllen = sizeof(Control);
    const ssize_t Size = recvmsg(FSocket, &Message, MSG_DONTWAIT);
    int Ttl = 0;
    if (Size >= 0 && ReadControl(Message, IPPROTO_IP, IP_TTL, Ttl))
        AOutcome.Ttl = static_cast<std::uint8_t>(Ttl);
    return Size;
}

/// Takes one report from the error queue: what it says about the last request, nothing when it is about
/// something else.
std::optional<Zn::TEchoOutcome> Zn::TEchoSocket::NextError(bool& AThereWasOne)
{
    std::byte Payload[cEchoHeadSize];
    iovec Part{Payload, sizeof(Payload)};
    TControl Control;
    msghdr Message{};
    Message.msg_iov = &Part;
    Message.msg_iovlen = 1;
    Message.msg_control = &Control;
    Message.msg_controllen = sizeof(Control);
    const ssize_t Size = recvmsg(FSocket, &Message, MSG_ERRQUEUE | MSG_DONTWAIT);
    AThereWasOne = Size >= 0;
    if (Size < 0)
        return std::nullopt;
    const auto Head = ReadEchoHead({Payload, static_cast<std::size_t>(Size)});
    if (!Head || !IsOurs(Head->Id, Head->Sequence))
        return std::nullopt;

    TEchoOutcome Outcome;
    TErrorReport<sockaddr_in> V4;
    TErrorReport<sockaddr_in6> V6;
    if (!IsV6() && ReadControl(Message, IPPROTO_IP, IP_RECVERR, V4) &&
        V4.Error.ee_origin == SO_EE_ORIGIN_ICMP) {
        Outcome.Status = StatusOfIcmpError(V4.Error.ee_type, V4.Error.ee_code);
        Outcome.From.V4 = V4.Offender;
        return Outcome;
    }
    if (IsV6() && ReadControl(Message, IPPROTO_IPV6, IPV6_RECVERR, V6) &&
        V6.Error.ee_origin == SO_EE_ORIGIN_ICMP6) {
        Outcome.Status = StatusOfIcmp6Error(V6.Error.ee_type, V6.Error.ee_code);
        Outcome.From.V6 = V6.Offender;
        return Outcome;
    }
    return std::nullopt;
}

bool Zn::TEchoSocket::IsOurs(std::uint16_t AId, std::uint16_t ASequence) const
{
    // The system gives a datagram socket an identifier of its own and sorts by it.
    return ASequence == FSequence && (!FIsRaw || AId == FId);
}
