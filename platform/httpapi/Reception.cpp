#include "platform/httpapi/Reception.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/httpapi/Limits.h"
#include "platform/httpapi/ProxyHeader.h"
#include "platform/httpapi/ResponseHead.h"

namespace Zn
{
namespace
{

constexpr std::int64_t SweepEvery = 500; // ms
constexpr int AcceptsInARow = 64;        // then requests have their turn; the listener is told again
constexpr std::string_view PlainToTlsPort =
    "HTTP/1.1 400 Bad Request\r\nContent-Type: text/plain\r\nContent-Length: 37\r\n"
    "Connection: close\r\n\r\nThis port speaks HTTP over TLS only.\r\n";
constexpr std::uint64_t LingerMost = 1024 * 1024;

std::string_view ReasonOf(std::uint16_t AStatus)
{
    switch (AStatus) {
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 408:
        return "Request Timeout";
    case 414:
        return "URI Too Long";
    case 417:
        return "Expectation Failed";
    case 431:
        return "Request Header Fields Too Large";
    case 501:
        return "Not Implemented";
    case 503:
        return "Service Unavailable";
    case 505:
        return "HTTP Version Not Supported";
    default:
        return "Error";
    }
}

std::string AddressKey(const sockaddr_storage& AAddress)
{
    if (AAddress.ss_family == AF_INET6) {
        const auto& Bytes = reinterpret_cast<const sockaddr_in6&>(AAddress).sin6_addr;
        return {reinterpret_cast<const char*>(&Bytes), sizeof Bytes};
    }
    const auto& Bytes = reinterpret_cast<const sockaddr_in&>(AAddress).sin_addr;
    return {reinterpret_cast<const char*>(&Bytes), sizeof Bytes};
}

/// IPv4 that came in by a socket for both families is shown as what it is.
void UnmapIPv4(sockaddr_storage& AAddress)
{
    const auto Mapped = reinterpret_cast<const sockaddr_in6&>(AAddress);
    if (AAddress.ss_family != AF_INET6 || !IN6_IS_ADDR_V4MAPPED(&Mapped.sin6_addr))
        return;
    sockaddr_in Plain{};
    Plain.sin_family = AF_INET;
    Plain.sin_port = Mapped.sin6_port;
    std::copy_n(Mapped.sin6_addr.s6_addr + 12, 4, reinterpret_cast<unsigned char*>(&Plain.sin_addr));
    AAddress = {};
    reinterpret_cast<sockaddr_in&>(AAddress) = Plain;
}

std::uint16_t PortOf(const sockaddr_storage& AAddress)
{
    return ntohs(AAddress.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(AAddress).sin6_port
                                                : reinterpret_cast<const sockaddr_in&>(AAddress).sin_port);
}

std::string PageOf(const OwnAnswer& AAnswer)
{
    if (AAnswer.Detail.empty())
        return {};
    const std::string Title = std::to_string(AAnswer.Status) + " " + std::string(ReasonOf(AAnswer.Status));
    return "<!DOCTYPE html>\n<html><head><title>" + Title + "</title></head><body><h1>" + Title + "</h1><p>" +
           std::string(AAnswer.Detail) + "</p></body></html>\n";
}

} // namespace

RequestHeadParser MakeHeadParser()
{
    const TZnHttpServiceLimits& Limits = CurrentLimits();
    return RequestHeadParser({Limits.RequestLine, Limits.Headers, Limits.HeaderFields});
}

void Arrival::Keep() const
{
    if (Bytes.data() != From.Input.data())
        From.Input.assign(Bytes);
}

void Arrival::ConsumeHead() const
{
    if (Bytes.data() == From.Input.data())
        From.Input.erase(0, Head.Length);
    else
        From.Input.assign(Bytes.substr(Head.Length));
}

Reception::Reception(ConnectionTable& AConnections, Poller& APoller, const TlsPorts& ATlsPorts,
                     const ProxyPorts& AProxyPorts)
    : FConnections(AConnections),
      FPoller(APoller),
      FTlsPorts(ATlsPorts),
      FProxyPorts(AProxyPorts),
      FSpareFd(open("/dev/null", O_RDONLY | O_CLOEXEC))
{
}

Reception::~Reception()
{
    if (FSpareFd >= 0)
        close(FSpareFd);
}

std::optional<Arrival> Reception::Next(int AMilliseconds)
{
    const PollEvent Event = FPoller.Next(AMilliseconds);
    if (const std::int64_t Now = CoarseNow(); Now >= FNextSweep)
        Sweep(Now);
    switch (Event.What) {
    case PollEvent::Kind::Listener:
        Accept(static_cast<int>(Event.Id));
        return std::nullopt;
    case PollEvent::Kind::Connection:
    case PollEvent::Kind::Returned:
        return OnConnection(Event);
    case PollEvent::Kind::Nothing:
        break;
    }
    return std::nullopt;
}

/// An event of a connection that a worker has is left for the moment when it comes back.
std::optional<Arrival> Reception::OnConnection(const PollEvent& AEvent)
{
    Connection* const From = FConnections.BySlotOf(AEvent.Id);
    if (From == nullptr || From->ConnectionId.load(std::memory_order_acquire) != AEvent.Id)
        return std::nullopt; // closed meanwhile
    if (AEvent.PeerClosed)
        From->NoteHangUp();
    Owner State = From->State.load(std::memory_order_acquire);
    while (State == Owner::Worker)
        if (From->State.compare_exchange_weak(State, Owner::WorkerMissed, std::memory_order_acq_rel))
            return std::nullopt;
    if (State != Owner::Poller)
        return std::nullopt;
    if (From->Phase == Expecting::EndOfLinger) {
        Discard(*From);
        return std::nullopt;
    }
    if (From->Phase == Expecting::ProxyHeader && !TakeProxyHeader(*From, AEvent.PeerClosed))
        return std::nullopt;
    if (From->Phase == Expecting::Handshake && !ShakeHands(*From))
        return std::nullopt;
    return Read(*From, AEvent.PeerClosed);
}

/// True once the header is there. It stays in the socket until it is whole: what follows it may be TLS, whose
/// bytes aren't for us.
bool Reception::TakeProxyHeader(Connection& AConnection, bool APeerClosed)
{
    const IoResult Seen = AConnection.Io.Peek(FBuffer.data(), LongestProxyHeader);
    if (Seen.State == IoState::WouldBlock)
        return false;
    const ProxyHeader Header = Seen.State == IoState::Done ? ReadProxyHeader({FBuffer.data(), Seen.Bytes})
                                                           : ProxyHeader{ProxyHeader::Result::Refused, 0, {}};
    if (Header.State == ProxyHeader::Result::Incomplete && !APeerClosed)
        return false;
    if (Header.State != ProxyHeader::Result::Complete) {
        Close(AConnection);
        return false;
    }
    AConnection.Io.Skip(Header.Length);
    AConnection.Phase = AConnection.Io.IsSecure() ? Expecting::Handshake : Expecting::FirstByte;
    AConnection.Deadline =
        CoarseNow() + (AConnection.Io.IsSecure() ? CurrentLimits().HeadWait : CurrentLimits().IdleWait);
    if (!Header.Client)
        return true;
    // From here on the connection is the client's, also where connections are counted.
    UncountAddress(AConnection.Remote);
    AConnection.Remote = Header.Client->Address;
    UnmapIPv4(AConnection.Remote);
    if (CountAddress(AConnection.Remote))
        return true;
    Close(AConnection);
    return false;
}

/// True once the TLS session stands. Each step takes what is there and waits for the next event.
bool Reception::ShakeHands(Connection& AConnection)
{
    const IoState State = AConnection.Io.Handshake();
    if (State == IoState::WouldBlock)
        return false;
    if (State != IoState::Done) {
        if (AConnection.Io.SawPlainHttp())
            AConnection.Io.SendPlain(PlainToTlsPort);
        Close(AConnection);
        return false;
    }
    AConnection.Phase = Expecting::FirstByte;
    AConnection.Deadline = CoarseNow() + CurrentLimits().IdleWait;
    return true;
}

std::optional<Arrival> Reception::Read(Connection& AConnection, bool APeerClosed)
{
    if (!AConnection.Input.empty()) {
        if (auto Result = ParseInput(AConnection, AConnection.Input))
            return Result;
        if (AConnection.State.load(std::memory_order_relaxed) != Owner::Poller ||
            AConnection.Phase == Expecting::EndOfLinger)
            return std::nullopt; // refused
    }
    do {
        const IoResult Received = AConnection.Io.Receive(FBuffer.data(), FBuffer.size());
        if (Received.State == IoState::WouldBlock) {
            AConnection.MoreInKernel = false;
            return std::nullopt;
        }
        if (Received.State != IoState::Done) {
            Close(AConnection);
            return std::nullopt;
        }
        // The end of the stream came with this event and has to be read for, even if the bytes are all read.
        AConnection.MoreInKernel = APeerClosed || !Received.Emptied;
        std::string_view Bytes(FBuffer.data(), Received.Bytes);
        if (!AConnection.Input.empty()) {
            AConnection.Input.append(Bytes);
            Bytes = AConnection.Input;
        }
        if (auto Result = ParseInput(AConnection, Bytes))
            return Result;
    } while (AConnection.State.load(std::memory_order_relaxed) == Owner::Poller && AConnection.MoreInKernel &&
             AConnection.Phase != Expecting::EndOfLinger);
    return std::nullopt;
}

/// A whole head gives an arrival, a part is kept with a deadline, a bad one is answered here.
std::optional<Arrival> Reception::ParseInput(Connection& AConnection, std::string_view ABytes)
{
    if (FParserLimits != &CurrentLimits()) {
        FParserLimits = &CurrentLimits();
        FParser = MakeHeadParser();
    }
    FParser.Reset();
    switch (FParser.Parse(ABytes)) {
    case HeadResult::Complete:
        return Arrival{AConnection, FParser.Head(), ABytes};
    case HeadResult::Refused:
        RefuseHead(AConnection, FParser.Status(), FParser.Reason());
        return std::nullopt;
    case HeadResult::Incomplete:
        break;
    }
    if (ABytes.data() != AConnection.Input.data())
        AConnection.Input.assign(ABytes);
    if (AConnection.Phase == Expecting::FirstByte) {
        AConnection.Phase = Expecting::RestOfHead;
        AConnection.Deadline = CoarseNow() + FParserLimits->HeadWait;
    }
    return std::nullopt;
}

void Reception::Accept(int AListener)
{
    for (int Count = 0; Count < AcceptsInARow; ++Count) {
        const int Fd = accept4(AListener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (Fd >= 0) {
            Welcome(Fd);
            continue;
        }
        if (errno == EMFILE || errno == ENFILE)
            AcceptWithoutDescriptors(AListener);
        if (errno != EINTR && errno != ECONNABORTED)
            return;
    }
}

/// With no descriptor left, a connection that can't be taken would be told again for ever: take it on the
/// spare one and close it.
void Reception::AcceptWithoutDescriptors(int AListener)
{
    if (FSpareFd < 0)
        return;
    close(FSpareFd);
    if (const int Fd = accept4(AListener, nullptr, nullptr, SOCK_CLOEXEC); Fd >= 0)
        close(Fd);
    FSpareFd = open("/dev/null", O_RDONLY | O_CLOEXEC);
    errno = EMFILE;
}

void Reception::Welcome(int AFd)
{
    const TZnHttpServiceLimits& Limits = CurrentLimits();
    Connection* const New = FConnections.Count() < Limits.Connections ? FConnections.Take() : nullptr;
    if (New == nullptr) {
        close(AFd);
        return;
    }
    socklen_t Length = sizeof New->Remote;
    getpeername(AFd, reinterpret_cast<sockaddr*>(&New->Remote), &Length);
    Length = sizeof New->Local;
    getsockname(AFd, reinterpret_cast<sockaddr*>(&New->Local), &Length);
    UnmapIPv4(New->Remote);
    UnmapIPv4(New->Local);
    New->LocalPort = PortOf(New->Local);
    New->Io.Adopt(AFd, FTlsPorts.Find(New->LocalPort));
    New->ForgetHangUp();
    FAccepted.store(FAccepted.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    New->IsFresh = true;
    New->MoreInKernel = false;
    New->Phase = New->Io.IsSecure() ? Expecting::Handshake : Expecting::FirstByte;
    if (FProxyPorts.IsProxy(New->LocalPort, reinterpret_cast<const sockaddr*>(&New->Remote)))
        New->Phase = Expecting::ProxyHeader;
    New->Deadline = CoarseNow() + (New->Phase == Expecting::FirstByte ? Limits.IdleWait : Limits.HeadWait);
    New->State.store(Owner::Poller, std::memory_order_release);
    const bool Allowed = CountAddress(New->Remote);
    if (!Allowed ||
        !FPoller.AddConnection(AFd, New->ConnectionId.load(std::memory_order_relaxed), New->Io.IsSecure()))
        Close(*New);
}

/// Reads on for the peer's sake: closing over unread bytes would reset the connection, and the reset could
/// take the answer away before the peer has read it (RFC 9112, 9.6).
void Reception::Discard(Connection& AConnection)
{
    for (;;) {
        const IoResult Received = AConnection.Io.Receive(FBuffer.data(), FBuffer.size());
        if (Received.State == IoState::WouldBlock)
            return;
        if (Received.State != IoState::Done || Received.Bytes > AConnection.LingerLeft) {
            Close(AConnection);
            return;
        }
        AConnection.LingerLeft -= Received.Bytes;
    }
}

void Reception::Linger(Connection& AConnection)
{
    AConnection.Io.ShutdownSend();
    AConnection.Input.clear();
    AConnection.Phase = Expecting::EndOfLinger;
    AConnection.LingerLeft = LingerMost;
    AConnection.Deadline = CoarseNow() + CurrentLimits().LingerWait;
    Discard(AConnection);
}

void Reception::SendAnswer(Connection& AConnection, const OwnAnswer& AAnswer, bool AIsHead)
{
    const std::string Page = PageOf(AAnswer);
    const std::string_view Reason = ReasonOf(AAnswer.Status);
    constexpr std::string_view Type = "text/html";
    THTTP_RESPONSE Response{};
    Response.StatusCode = AAnswer.Status;
    Response.pReason = Reason.data();
    Response.ReasonLength = static_cast<std::uint16_t>(Reason.size());
    if (!Page.empty())
        Response.Headers.KnownHeaders[HttpHeaderContentType] = {static_cast<std::uint16_t>(Type.size()),
                                                                Type.data()};
    std::string Text;
    AppendHead(Text, Response, {HeadFraming::Kind::Length, Page.size()});
    AppendConnection(Text, !AAnswer.KeepConnection, true, {});
    if (!AIsHead)
        Text += Page;
    const iovec Part{Text.data(), Text.size()};
    AConnection.Io.Send({&Part, 1},
                        false); // fits into an empty send buffer; a peer that fills it gets no answer
}

void Reception::Answer(const Arrival& AArrival, const OwnAnswer& AAnswer)
{
    OwnAnswer Given = AAnswer;
    // A body that nobody will read ends the connection: it isn't worth reading.
    Given.KeepConnection = AAnswer.KeepConnection && AArrival.Head.KeepAlive &&
                           AArrival.Head.Body == BodyKind::None && AArrival.Head.Version == HTTP_VERSION_1_1;
    SendAnswer(AArrival.From, Given, AArrival.Head.Verb == HttpVerbHEAD);
    if (!Given.KeepConnection) {
        Linger(AArrival.From);
        return;
    }
    Connection& From = AArrival.From;
    AArrival.ConsumeHead();
    From.Phase = Expecting::FirstByte;
    From.Deadline = CoarseNow() + CurrentLimits().IdleWait;
    if (!From.Input.empty() || From.MoreInKernel || From.Io.HoldsInput())
        FPoller.PushReturned(From.ConnectionId.load(std::memory_order_relaxed));
}

void Reception::RefuseHead(Connection& AConnection, std::uint16_t AStatus, const char* AReason)
{
    SendAnswer(AConnection, {AStatus, AReason}, false);
    Linger(AConnection);
}

void Reception::Close(Connection& AConnection)
{
    UncountAddress(AConnection.Remote);
    AConnection.Io.Close();
    AConnection.Input = std::string();
    AConnection.EndRequest();
    AConnection.Response.Head = std::string();
    AConnection.ConnectionId.store(0, std::memory_order_release);
    AConnection.State.store(Owner::Free, std::memory_order_release);
    FConnections.Return(AConnection);
}

void Reception::CloseIdle(std::uint16_t APort)
{
    for (std::uint32_t Slot = 0; Slot < FConnections.UsedSlots(); ++Slot) {
        Connection& Each = FConnections.At(Slot);
        if (Each.State.load(std::memory_order_acquire) == Owner::Poller &&
            (APort == 0 || Each.LocalPort == APort))
            Close(Each);
    }
}

void Reception::Sweep(std::int64_t ANow)
{
    FNextSweep = ANow + SweepEvery;
    for (std::uint32_t Slot = 0; Slot < FConnections.UsedSlots(); ++Slot) {
        Connection& Each = FConnections.At(Slot);
        if (Each.State.load(std::memory_order_acquire) != Owner::Poller)
            continue;
        if (Each.Deadline <= ANow)
            TimeOut(Each);
        else if (Each.Phase == Expecting::FirstByte)
            Each.Io.ReleaseBuffers();
    }
}

void Reception::TimeOut(Connection& AConnection)
{
    if (AConnection.Phase == Expecting::RestOfHead)
        RefuseHead(AConnection, 408, "The request did not come to its end in time.");
    else
        Close(AConnection);
}

bool Reception::CountAddress(const sockaddr_storage& AAddress)
{
    const std::uint32_t Limit = CurrentLimits().ConnectionsPerAddress;
    const MutexLock Guard(FAddressLock);
    const std::uint32_t Count = ++FAddresses[AddressKey(AAddress)];
    return Limit == 0 || Count <= Limit;
}

void Reception::UncountAddress(const sockaddr_storage& AAddress)
{
    const MutexLock Guard(FAddressLock);
    const auto Found = FAddresses.find(AddressKey(AAddress));
    if (Found != FAddresses.end() && --Found->second == 0)
        FAddresses.erase(Found);
}

} // namespace Zn
