#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace Zn
{

/// A message of the kernel's, and an attribute in it (RFC 3549, 2.3). Borrowed from the buffer they were read
/// from, which need not be aligned for what is in it.
struct TNetlinkMessage
{
    std::uint16_t Type = 0;
    std::uint16_t Flags = 0;
    std::span<const std::byte> Body;

    /// The fixed head of the body; nothing when it is too short.
    template <typename T>
    std::optional<T> Head() const
    {
        T Value;
        if (Body.size() < sizeof(T))
            return std::nullopt;
        std::memcpy(&Value, Body.data(), sizeof(T));
        return Value;
    }
    /// What stands behind a head of this type.
    template <typename T>
    std::span<const std::byte> Attributes() const
    {
        constexpr std::size_t cSize = (sizeof(T) + 3) / 4 * 4;
        return Body.size() < cSize ? std::span<const std::byte>() : Body.subspan(cSize);
    }
};

struct TNetlinkAttribute
{
    std::uint16_t Type = 0; // without its flags
    std::span<const std::byte> Value;

    template <typename T>
    T As() const
    {
        T Result{};
        std::memcpy(&Result, Value.data(), std::min(sizeof(T), Value.size()));
        return Result;
    }
    /// Up to the zero that ends it.
    std::string_view Text() const;
};

/// Take the first one off a list; nothing at its end, or where the rest is no whole one.
std::optional<TNetlinkMessage> NextMessage(std::span<const std::byte>& AList);
std::optional<TNetlinkAttribute> NextAttribute(std::span<const std::byte>& AList);

/// A socket to the kernel's routing tables (NETLINK_ROUTE), in the caller's network namespace. One thread at
/// a time.
class TNetlinkSocket
{
public:
    /// AGroups: the multicast groups whose changes it receives, as a mask. nullptr with the reason in AErrno.
    static std::unique_ptr<TNetlinkSocket> Open(std::uint32_t AGroups, int& AErrno);
    ~TNetlinkSocket();
    TNetlinkSocket(const TNetlinkSocket&) = delete;
    TNetlinkSocket& operator=(const TNetlinkSocket&) = delete;

    int Descriptor() const { return FSocket; }

    using TUse = std::function<void(const TNetlinkMessage&)>;

    /// Gives AUse all entries of a table. AHead is the head of the request with its attributes. 0, or an
    /// errno: EINTR when the table changed meanwhile, so that entries may be missing or double.
    int Dump(std::uint16_t AType, std::span<const std::byte> AHead, const TUse& AUse);

    /// Gives AUse messages that are there, a hundred at most; doesn't wait. 0 when there may be more, or an
    /// errno: EAGAIN when there are no more, ENOBUFS when some were lost.
    int Receive(const TUse& AUse);

private:
    explicit TNetlinkSocket(int ASocket) : FSocket(ASocket), FBuffer(cBufferSize) {}

    /// -errno, or the number of bytes in FBuffer.
    int ReceiveOne(int AFlags);

    static constexpr std::size_t cBufferSize = 64 * 1024; // the kernel fills at most 32 KiB at a time
    int FSocket;
    std::uint32_t FSequence = 0;
    std::vector<std::byte> FBuffer;
};

} // namespace Zn
