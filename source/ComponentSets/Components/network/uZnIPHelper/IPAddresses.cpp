#include "uZnIPHelper/IPAddresses.h"

#include "common/Exceptions.h"
#include "uZnIPHelper/SystemFunctions.h"

TZnIPAddrType TZnIPAddress::GetIPType() const
{
    throw Exception("Unknown IPType");
}

TZnIPV4AddressExt::TZnIPV4AddressExt(const in_addr& AAddress, std::uint32_t APrefixLength)
    : TZnIPV4Address(AAddress)
{
    InitializeWinsock();
    const auto Convert = Zn::SystemFunctions().ConvertLengthToIpv4Mask;
    std::uint32_t Mask = 0;
    if (Convert && Convert(APrefixLength, &Mask) == 0)
        FMask.s_addr = Mask;
}

bool TZnIPV6Address::IsEmpty() const
{
    return IN6_IS_ADDR_UNSPECIFIED(&FAddress);
}

const TZnIPAddress* TZnIPAddressList::GetAddress(int AIndex) const
{
    if (AIndex < 0 || AIndex >= Count())
        throw EListError(ZnFormat("List index out of bounds (%d)", AIndex));
    return FList[static_cast<std::size_t>(AIndex)].get();
}
