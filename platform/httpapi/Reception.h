#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/httpapi/ConnectionTable.h"
#include "platform/httpapi/Poller.h"
#include "platform/httpapi/ProxyPorts.h"
#include "platform/httpapi/RequestHead.h"
#include "platform/httpapi/tls/TlsPorts.h"

namespace Zn
{

/// A request whose head is complete, on a connection that is still the leader's. Valid until the next call of
/// Next.
struct Arrival
{
    Connection& From;
    const RequestHead& Head;
    std::string_view Bytes; // the head and what came with it; in From.Input or in the reception's own buffer

    /// Makes From.Input hold all bytes, for a request that has to wait.
    void Keep() const;
    /// Leaves in From.Input what came behind the head.
    void ConsumeHead() const;
};

/// An answer that the service gives itself.
struct OwnAnswer
{
    std::uint16_t Status;
    std::string_view Detail; // shown in the page; empty: a head without a page
    bool KeepConnection = false;
};

/// The leader's work between the wire and a complete request: accepts, reads, parses, refuses what is
/// malformed, lets closing connections linger and ends those whose time is up.
///
/// Threads: the leader's, one at a time, but for Close, which the owner of the connection calls.
class Reception
{
public:
    Reception(ConnectionTable& AConnections, Poller& APoller, const TlsPorts& ATlsPorts,
              const ProxyPorts& AProxyPorts);
    Reception(const Reception&) = delete;
    Reception& operator=(const Reception&) = delete;
    ~Reception();

    /// The next complete request; nullopt when there is none within the time, or something else happened
    /// first.
    std::optional<Arrival> Next(int AMilliseconds);

    /// Answers and ends the arrival's turn; the connection goes on where that is allowed.
    void Answer(const Arrival& AArrival, const OwnAnswer& AAnswer);

    /// Ends the connection at once and frees its slot. Its owner's; it has nothing of it afterwards.
    void Close(Connection& AConnection);

    /// Ends the connections that wait for a request and came in by that port; all of them for port 0.
    void CloseIdle(std::uint16_t APort);
    /// Ends those of the ports that wait for a request and hold nothing of one.
    void EndIdle(const std::set<std::uint16_t>& APorts);
    /// Connections taken so far. Any thread.
    std::uint64_t Accepted() const { return FAccepted.load(std::memory_order_relaxed); }
    /// Takes what waits at a listening socket.
    void AcceptWaiting(int AListener) { Accept(AListener); }

private:
    std::optional<Arrival> OnConnection(const PollEvent& AEvent);
    bool TakeProxyHeader(Connection& AConnection, bool APeerClosed);
    bool ShakeHands(Connection& AConnection);
    std::optional<Arrival> Read(Connection& AConnection, bool APeerClosed);
    std::optional<Arrival> ParseInput(Connection& AConnection, std::string_view ABytes);
    void Accept(int AListener);
    void AcceptWithoutDescriptors(int AListener);
    void Welcome(int AFd);
    void Discard(Connection& AConnection);
    void Linger(Connection& AConnection);
    void SendAnswer(Connection& AConnection, const OwnAnswer& AAnswer, bool AIsHead);
    void RefuseHead(Connection& AConnection, std::uint16_t AStatus, const char* AReason);
    void Sweep(std::int64_t ANow);
    void TimeOut(Connection& AConnection);

    bool CountAddress(const sockaddr_storage& AAddress);
    void UncountAddress(const sockaddr_storage& AAddress);

    ConnectionTable& FConnections;
    Poller& FPoller;
    const TlsPorts& FTlsPorts;
    const ProxyPorts& FProxyPorts;
    RequestHeadParser FParser;
    const TZnHttpServiceLimits* FParserLimits = nullptr; // those FParser was made with
    std::array<char, 65536> FBuffer{};                   // what one receive brings
    std::atomic<std::uint64_t> FAccepted{0};             // written by the leader alone
    std::int64_t FNextSweep = 0;
    int FSpareFd = -1; // given up for a moment to turn connections away when descriptors are used up

    Mutex FAddressLock;
    std::unordered_map<std::string, std::uint32_t> FAddresses ZN_GUARDED_BY(FAddressLock); // connections each
};

/// A parser with the limits in force.
RequestHeadParser MakeHeadParser();

} // namespace Zn
