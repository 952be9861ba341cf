#include "platform/httpapi/AddressRange.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <netinet/in.h>

#include "platform/httpapi/Endpoint.h"

namespace Zn
{

std::optional<AddressRange::Bits> AddressRange::BitsOf(const sockaddr* AAddress)
{
    Bits Result{};
    if (AAddress == nullptr)
        return std::nullopt;
    if (AAddress->sa_family == AF_INET6) {
        std::memcpy(Result.data(), &reinterpret_cast<const sockaddr_in6*>(AAddress)->sin6_addr, 16);
        return Result;
    }
    if (AAddress->sa_family != AF_INET)
        return std::nullopt;
    Result[10] = Result[11] = 0xff;
    std::memcpy(Result.data() + 12, &reinterpret_cast<const sockaddr_in*>(AAddress)->sin_addr, 4);
    return Result;
}

std::optional<AddressRange> AddressRange::Parse(std::string_view AText)
{
    const std::size_t Slash = std::min(AText.find('/'), AText.size());
    const std::string Text(AText.substr(0, Slash));
    const auto Address = Text.find('%') == std::string::npos ? EndpointFromText(Text, 0) : std::nullopt;
    if (!Address)
        return std::nullopt;
    AddressRange Result;
    Result.FPrefix = *BitsOf(Address->Get());
    const unsigned Shift = Address->Address.ss_family == AF_INET ? 96 : 0;
    if (Slash < AText.size()) {
        const char* const End = AText.data() + AText.size();
        const auto [Stop, Error] = std::from_chars(AText.data() + Slash + 1, End, Result.FLength);
        if (Error != std::errc() || Stop != End || Result.FLength > 128 - Shift)
            return std::nullopt;
        Result.FLength += Shift;
    }
    for (unsigned Bit = Result.FLength; Bit < 128; ++Bit)
        if ((Result.FPrefix[Bit / 8] & (0x80U >> (Bit % 8))) != 0)
            return std::nullopt;
    return Result;
}

bool AddressRange::Contains(const sockaddr* AAddress) const
{
    const auto Address = BitsOf(AAddress);
    if (!Address)
        return false;
    const unsigned Whole = FLength / 8;
    if (!std::equal(FPrefix.begin(), FPrefix.begin() + Whole, Address->begin()))
        return false;
    const unsigned Rest = FLength % 8;
    return Rest == 0 || ((FPrefix[Whole] ^ (*Address)[Whole]) >> (8 - Rest)) == 0;
}

std::optional<AddressRanges> ParseAddressRanges(std::string_view AText, std::string& AProblem)
{
    AddressRanges Result;
    while (!AText.empty()) {
        const std::size_t End = std::min(AText.find(' '), AText.size());
        const std::string_view Each = AText.substr(0, End);
        AText.remove_prefix(std::min(End + 1, AText.size()));
        if (Each.empty())
            continue;
        const auto Range = AddressRange::Parse(Each);
        if (!Range) {
            AProblem = Each;
            return std::nullopt;
        }
        Result.push_back(*Range);
    }
    return Result;
}

bool Contains(const AddressRanges& ARanges, const sockaddr* AAddress)
{
    return std::any_of(ARanges.begin(), ARanges.end(),
                       [&](const AddressRange& AEach) { return AEach.Contains(AAddress); });
}

} // namespace Zn
