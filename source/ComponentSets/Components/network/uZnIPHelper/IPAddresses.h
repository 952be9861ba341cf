#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/Component.h"
#include "platform/Api.h"
#include "platform/iphelper/Adapters.h"
#include "uZnIPHelper/AddressText.h"

/// Root of the address objects. Unchanging once made: any thread may read them.
class ZN_API TZnIPAddress : public TObject
{
public:
    /// Raises Exception where the object isn't an address of one family.
    virtual TZnIPAddrType GetIPType() const;
    /// The address as text.
    virtual std::string GetAsString() const { return {}; }
    /// No address, or the unspecified one (0.0.0.0, ::).
    virtual bool IsEmpty() const { return true; }
};

/// An IPv4 address.
class ZN_API TZnIPV4Address : public TZnIPAddress
{
public:
    /// Copies the address.
    explicit TZnIPV4Address(const in_addr& AAddress) : FAddress(AAddress) {}

    TZnIPAddrType GetIPType() const override { return ipV4; }
    std::string GetAsString() const override { return ZnIPAddrToStr(FAddress); }
    /// True for 0.0.0.0.
    bool IsEmpty() const override { return FAddress.s_addr == 0; }

private:
    in_addr FAddress;
};

/// With the mask of its network.
class ZN_API TZnIPV4AddressExt : public TZnIPV4Address
{
public:
    /// A length above 32 gives the mask 0.0.0.0.
    TZnIPV4AddressExt(const in_addr& AAddress, std::uint32_t APrefixLength);

    /// The network's mask, "255.255.255.0".
    std::string GetMask() const { return ZnIPAddrToStr(FMask); }

private:
    in_addr FMask{};
};

/// An IPv6 address with its scope.
class ZN_API TZnIPV6Address : public TZnIPAddress
{
public:
    /// Copies the address. AScopeId is the interface's number for a link-local address, else 0.
    TZnIPV6Address(const IN6_ADDR& AAddress, std::int32_t AScopeId) : FScopeId(AScopeId), FAddress(AAddress)
    {
    }

    TZnIPAddrType GetIPType() const override { return ipV6; }
    /// A link-local address with its scope.
    std::string GetAsString() const override { return ZnIPAddrToStr(FAddress, FScopeId); }
    /// True for the address ::.
    bool IsEmpty() const override;

    /// The index of the interface that a link-local address belongs to, else 0.
    std::int32_t GetScopeId() const { return FScopeId; }

private:
    std::int32_t FScopeId;
    IN6_ADDR FAddress;
};

/// With the length of its network's prefix, and where its two parts come from.
class ZN_API TZnIPV6AddressExt : public TZnIPV6Address
{
public:
    /// Copies; the origins tell how prefix and host part came about.
    TZnIPV6AddressExt(const IN6_ADDR& AAddress, std::uint32_t APrefixLength, IP_PREFIX_ORIGIN APrefixOrigin,
                      IP_SUFFIX_ORIGIN ASuffixOrigin, std::int32_t AScopeId)
        : TZnIPV6Address(AAddress, AScopeId),
          FPrefixLength(APrefixLength),
          FPrefixOrigin(APrefixOrigin),
          FSuffixOrigin(ASuffixOrigin)
    {
    }

    /// Bits of the network, 0 to 128.
    std::uint32_t GetPrefixLength() const { return FPrefixLength; }
    /// Where the prefix comes from: a router, DHCP, by hand.
    IP_PREFIX_ORIGIN GetPrefixOrigin() const { return FPrefixOrigin; }
    /// Where the host's part comes from: the hardware address, at random, by hand.
    IP_SUFFIX_ORIGIN GetSuffixOrigin() const { return FSuffixOrigin; }

private:
    std::uint32_t FPrefixLength;
    IP_PREFIX_ORIGIN FPrefixOrigin;
    IP_SUFFIX_ORIGIN FSuffixOrigin;
};

/// The addresses of one kind that an adapter has. Owns them.
class ZN_API TZnIPAddressList : public TZnIPAddress
{
public:
    /// The number of addresses.
    int Count() const { return static_cast<int>(FList.size()); }
    /// Borrowed. Raises EListError for an index that isn't there.
    const TZnIPAddress* GetAddress(int AIndex) const;

    /// Takes an address over and puts it at the end.
    void Add(std::unique_ptr<TZnIPAddress> AAddress) { FList.push_back(std::move(AAddress)); }

private:
    std::vector<std::unique_ptr<TZnIPAddress>> FList;
};
