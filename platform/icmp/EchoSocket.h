#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/icmp/Icmp.h"

namespace Zn
{

/// An address of either family, as the system's calls take it.
union TEchoAddress {
    sockaddr Any;
    sockaddr_in V4;
    sockaddr_in6 V6{};
};

struct TEchoRequest
{
    TEchoAddress Destination;
    TEchoAddress Source; // IPv6 only; the address :: leaves it to the system
    std::span<const std::byte> Data;
    IP_OPTION_INFORMATION Options;
    std::uint32_t Timeout; // ms
    bool WantsTtl;         // of the answer; it costs a twentieth more. IPv4 only
};

/// What became of a request: a failure of the call in Error, else a reply.
struct TEchoOutcome
{
    std::uint32_t Error = 0;
    std::uint32_t Status = IP_SUCCESS;
    TEchoAddress From;
    std::uint32_t RoundTripTime = 0;      // ms
    std::span<const std::byte> Data = {}; // of an answer; the socket's own, until its next request
    std::uint8_t Ttl = 0;                 // where it was wanted
};

/// A socket for echo requests of one family: a datagram socket of the ping group, a raw one where the
/// process isn't of that group. One thread at a time.
class TEchoSocket
{
public:
    /// nullptr with the reason in AErrno.
    static std::unique_ptr<TEchoSocket> Open(int AFamily, int& AErrno);
    ~TEchoSocket();
    TEchoSocket(const TEchoSocket&) = delete;
    TEchoSocket& operator=(const TEchoSocket&) = delete;

    TEchoOutcome Exchange(const TEchoRequest& ARequest);

private:
    TEchoSocket(int AFamily, int ASocket, bool AIsRaw);

    bool IsV6() const { return FFamily == AF_INET6; }
    socklen_t AddressSize() const { return IsV6() ? sizeof(sockaddr_in6) : sizeof(sockaddr_in); }
    bool Prepare();
    bool KeepForeignRepliesOut();
    bool SetFragmentation(bool AIsAllowed);
    void AskForTtl();
    std::span<const std::byte> Written(const TEchoRequest& ARequest);
    bool Send(const TEchoRequest& ARequest);
    bool SendPlain(const TEchoRequest& ARequest, std::span<const std::byte> AMessage);
    bool SendWithOptions(const TEchoRequest& ARequest, std::span<const std::byte> AMessage);
    TEchoOutcome Receive(const TEchoRequest& ARequest);
    bool ReceiveReply(const TEchoRequest& ARequest, TEchoOutcome& AOutcome);
    ssize_t ReceivePlain(TEchoOutcome& AOutcome);
    ssize_t ReceiveWithTtl(TEchoOutcome& AOutcome);
    std::optional<TEchoOutcome> NextError(bool& AThereWasOne);
    bool IsOurs(std::uint16_t AId, std::uint16_t ASequence) const;

    int FFamily;
    int FSocket;
    bool FIsRaw;
    bool FIsCut = false; // what SetFragmentation was told last
    bool FTellsTtl = false;
    std::uint16_t FId;
    std::uint16_t FSequence;
    std::vector<std::byte> FBuffer;
};

} // namespace Zn
