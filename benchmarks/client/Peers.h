#pragma once

#include <cstdint>
#include <memory>

/// One way to be a client of a server at a port of the loopback. A failed request throws.
class BenchPeer
{
public:
    virtual ~BenchPeer() = default;
    virtual const char* Name() const = 0;
    /// A GET; the length of its body.
    virtual std::uint64_t Get(const char* ATarget) = 0;
    /// A PUT with a body of that length, given piece by piece.
    virtual void Put(std::uint64_t ALength) = 0;
};

/// A libcurl easy handle that is used again and again.
std::unique_ptr<BenchPeer> MakeCurlPeer(std::uint16_t APort);
/// The function set of platform/winhttp. Peers that are made from one another share a session.
std::unique_ptr<BenchPeer> MakeFunctionsPeer(std::uint16_t APort);
std::unique_ptr<BenchPeer> MakeFunctionsPeer(std::uint16_t APort, BenchPeer& AShared);
/// The client component.
std::unique_ptr<BenchPeer> MakeClientPeer(std::uint16_t APort);
/// The same on the second transport.
std::unique_ptr<BenchPeer> MakeWinINetPeer(std::uint16_t APort);
