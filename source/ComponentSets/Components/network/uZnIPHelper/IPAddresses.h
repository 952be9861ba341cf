#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/Component.h"
#include "platform/iphelper/Adapters.h"
#include "uZnIPHelper/AddressText.h"

/// Root of the address objects. Unchanging once made: any thread may read them.
class TZnIPAddress : public TObject
{
public:
    /// Raises Exception where the object isn't an address of one family.
    virtual TZnIPAddrType GetIPType() const;
    virtual std::string GetAsString() const { return {}; }
    virtual bool IsEmpty() const { return true; }
};

class TZnIPV4Address : public TZnIPAddress
{
public:
    explicit TZnIPV4Address(const in_addr& AAddress) : FAddress(AAddress) {}

    TZnIPAddrType GetIPType() const override { return ipV4; }
    std::string GetAsString() const override { return ZnIPAddrToStr(FAddress); }
    /// True for 0.0.0.0.
    bool IsEmpty() const override { return FAddress.s_addr == 0; }

private:
    in_addr FAddress;
};

/// With the mask of its network.
class TZnIPV4AddressExt : public TZnIPV4Address
{
public:
    /// A length above 32 gives the mask 0.0.0.0.
    TZnIPV4AddressExt(const in_addr& AAddress, std::uint32_t APrefixLength);

    std::string GetMask() const { return ZnIPAddrToStr(FMask); }

private:
    in_addr FMask{};
};

class TZnIPV6Address : public TZnIPAddress
{
public:
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
class TZnIPV6AddressExt : public TZnIPV6Address
{
public:
    TZnIPV6AddressExt(const IN6_ADDR& AAddress, std::uint32_t APrefixLength, IP_PREFIX_ORIGIN APrefixOrigin,
                      IP_SUFFIX_ORIGIN ASuffixOrigin, std::int32_t AScopeId)
        : TZnIPV6Address(AAddress, AScopeId),
          FPrefixLength(APrefixLength),
          FPrefixOrigin(APrefixOrigin),
          FSuffixOrigin(ASuffixOrigin)
    {
    }

    std::uint32_t GetPrefixLength() const { return FPrefixLength; }
    IP_PREFIX_ORIGIN GetPrefixOrigin() const { return FPrefixOrigin; }
    IP_SUFFIX_ORIGIN GetSuffixOrigin() const { return FSuffixOrigin; }

private:
    std::uint32_t FPrefixLength;
    IP_PREFIX_ORIGIN FPrefixOrigin;
    IP_SUFFIX_ORIGIN FSuffixOrigin;
};

/// The addresses of one kind that an adapter has. Owns them.
class TZnIPAddressList : public TZnIPAddress
{
public:
    int Count() const { return static_cast<int>(FList.size()); }
    /// Borrowed. Raises EListError for an index that isn't there.
    const TZnIPAddress* GetAddress(int AIndex) const;

    void Add(std::unique_ptr<TZnIPAddress> AAddress) { FList.push_back(std::move(AAddress)); }

private:
    std::vector<std::unique_ptr<TZnIPAddress>> FList;
};
